#include "app/WritingCopy.h"

#include <utility>

#include "app/AppController.h"
#include "app/Session.h"
#include "app/WriterLock.h"
#include "app/bus/RunningCopy.h"
#include "base/Alerts.h"

namespace siftwell {

namespace {

class OwnCopy : public WritingCopy {
public:
    explicit OwnCopy(std::unique_ptr<Session> session)
        : m_session(std::move(session)),
          m_controller(std::make_unique<AppController>(
              AppController::Surroundings{.session = *m_session, .alerts = m_alerts})) {}

    // Left by an exception: a scan that runs waits for the main loop.
    ~OwnCopy() override {
        if (m_controller != nullptr) static_cast<void>(OwnCopy::close());
    }

    Driver& driver() override { return *m_controller; }
    bool isOtherProcess() const override { return false; }
    void waitUntilIndexingIsEnabled() override { m_controller->waitUntilIndexingIsEnabled(); }
    ProgramEnd close() override { return closeProgram(m_controller, m_session); }

private:
    LoggedAlerts m_alerts;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<AppController> m_controller;
};

class OtherCopy : public WritingCopy {
public:
    explicit OtherCopy(std::unique_ptr<RunningCopy> copy) : m_copy(std::move(copy)) {}

    Driver& driver() override { return *m_copy; }
    bool isOtherProcess() const override { return true; }
    void waitUntilIndexingIsEnabled() override {}
    ProgramEnd close() override { return {}; }

private:
    std::unique_ptr<RunningCopy> m_copy;
};

// What has the lock may also be a command that is just at work and cannot be asked for anything.
Result<std::unique_ptr<WritingCopy>> reachOther(const Paths& paths, NotificationCentre& centre,
                                                const Status& busy) {
    auto copy = RunningCopy::connect(centre, WriterLock::holder(paths.stateFolder));
    if (!copy && copy.status().code() == StatusCode::NotFound) return busy;
    if (!copy) return Status(StatusCode::Busy, copy.status().message());
    return std::unique_ptr<WritingCopy>(std::make_unique<OtherCopy>(*std::move(copy)));
}

}  // namespace

Result<std::unique_ptr<WritingCopy>> WritingCopy::reach(const Paths& paths, RunLoop& mainLoop,
                                                        NotificationCentre& centre) {
    auto session = Session::open(paths, Session::Purpose::Writing, mainLoop, &centre);
    if (!session) {
        return session.status().code() == StatusCode::Busy
                   ? reachOther(paths, centre, session.status())
                   : session.status();
    }
    return std::unique_ptr<WritingCopy>(std::make_unique<OwnCopy>(*std::move(session)));
}

}  // namespace siftwell
