// PrefsFixture: settings in a temporary folder, in virtual time.
#pragma once

#include <gmock/gmock.h>

#include "app/PrefsController.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {

class PrefsFixture : public testing::Test {
protected:
    std::size_t storedItems() const { return m_settings->array("SearchItems").size(); }

    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::unique_ptr<Settings> m_settings =
        Settings::open(m_folder.file("x.plist"), Settings::Access::ReadWrite, m_loop).value();
    PrefsController m_prefs{*m_settings};
};

}  // namespace siftwell
