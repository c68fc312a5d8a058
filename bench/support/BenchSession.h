// BenchSession: the program's objects over an index of their own, in a home that goes with them.
//
// Threads: main. Errors: end the benchmark with a message.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "app/Session.h"
#include "support/TemporaryFolder.h"

namespace siftwell::bench {

class BenchSession {
public:
    BenchSession() { open(); }
    ~BenchSession() {
        if (m_session != nullptr) close();
    }
    BenchSession(const BenchSession&) = delete;
    BenchSession& operator=(const BenchSession&) = delete;

    void open() {
        auto session = Session::open(m_paths, Session::Purpose::Writing, *m_loop);
        require(session.status());
        m_session = *std::move(session);
        m_session->waitUntilIndexingIsEnabled();
    }
    void close() {
        require(m_session->close());
        m_session.reset();
    }

    Session* operator->() { return m_session.get(); }
    RunLoop& loop() { return *m_loop; }

private:
    static void require(const Status& status) {
        if (status.isOk()) return;
        std::fprintf(stderr, "%s\n", status.message().c_str());
        std::exit(1);
    }

    const TemporaryFolder m_home;
    const Paths m_paths{.settingsFile = m_home.file("settings.plist"),
                        .oldIndexFolder = m_home.file("old"),
                        .applicationData = m_home.file("data"),
                        .stateFolder = m_home.file("state"),
                        .resourceFolder = "",
                        .indexerTool = Paths::ofThisUser().indexerTool};
    const std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
    std::unique_ptr<Session> m_session;
};

}  // namespace siftwell::bench
