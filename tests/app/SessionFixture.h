// SessionFixture: sessions of a user whose home is a temporary folder.
#pragma once

#include <gmock/gmock.h>

#include "app/Session.h"
#include "support/TemporaryFolder.h"

namespace siftwell {

class SessionFixture : public testing::Test {
protected:
    using Purpose = Session::Purpose;

    Result<std::unique_ptr<Session>> open(Purpose purpose) {
        return Session::open(m_paths, purpose, *m_loop);
    }

    TemporaryFolder m_home;
    Paths m_paths = {.settingsFile = m_home.file("config/siftwell/x.plist"),
                     .oldIndexFolder = m_home.file("config/Siftwell Index"),
                     .applicationData = m_home.file("data"),
                     .stateFolder = m_home.file("state"),
                     .resourceFolder = m_home.file("resources"),
                     .indexerTool = Paths::ofThisUser().indexerTool};
    std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
};

}  // namespace siftwell
