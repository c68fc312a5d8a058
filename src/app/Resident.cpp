#include "app/Resident.h"

#include <csignal>
#include <utility>

#include "base/Log.h"

namespace siftwell {

Result<std::unique_ptr<Resident>> Resident::start(const Surroundings& surroundings,
                                                  OtherCopy otherCopy) {
    auto session = openOnlySession(surroundings.paths, surroundings.mainLoop, surroundings.centre,
                                   surroundings.alerts, otherCopy);
    if (!session) return session.status();
    return std::unique_ptr<Resident>(new Resident(surroundings, *std::move(session)));
}

Resident::Resident(const Surroundings& surroundings, std::unique_ptr<Session> session)
    : m_surroundings(surroundings),
      m_sleepWatch(surroundings.mainLoop),
      m_session(std::move(session)),
      m_controller(std::make_unique<AppController>(
          AppController::Surroundings{.session = *m_session,
                                      .alerts = surroundings.alerts,
                                      .isResident = true,
                                      .sleepWatch = &m_sleepWatch,
                                      .quit = [this] { quit(); }})) {
    serveOnBus();
}

void Resident::serveOnBus() {
    auto services =
        BusServices::open({.driver = *m_controller,
                           .notifier = m_session->notifier(),
                           .centre = m_session->centre(),
                           .retriever = m_session->retriever(),
                           .mainLoop = m_surroundings.mainLoop,
                           .runningSearchItemForProcess = [this](const std::string& process) {
                               return m_controller->runningSearchItemForProcess(process);
                           }});
    if (services) {
        m_services = *std::move(services);
    } else {
        writeLog("Not reachable over D-Bus: " + services.status().message());
    }
}

void Resident::run(const std::function<void()>& beforeLaunch) {
    RunLoop& mainLoop = m_surroundings.mainLoop;
    for (const int signal : {SIGINT, SIGTERM}) {
        mainLoop.watchSignal(signal, [&mainLoop] { mainLoop.stop(); });
    }
    mainLoop.post([this, beforeLaunch] {
        if (beforeLaunch) beforeLaunch();
        m_controller->applicationDidFinishLaunching();
    });
    mainLoop.run();
}

ProgramEnd Resident::close() {
    m_services.reset();
    return closeProgram(m_controller, m_session);
}

// Left by an exception: the scan that runs waits for the main loop.
Resident::~Resident() {
    if (m_controller != nullptr) static_cast<void>(close());
}

}  // namespace siftwell
