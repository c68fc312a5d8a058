#include "app/bus/LogindSleepWatch.h"

#include <sdbus-c++/Error.h>
#include <sdbus-c++/Message.h>

#include <utility>

#include "app/bus/BusConnection.h"
#include "base/Log.h"

namespace siftwell {

LogindSleepWatch::LogindSleepWatch(RunLoop& mainLoop) : m_mainLoop(mainLoop) {
    auto connection = connectTo(Bus::System);
    if (!connection) {
        writeLog("Sleep and waking are not noticed. " + connection.status().message());
        return;
    }
    m_thread.emplace(*std::move(connection));
    try {
        listen();
    } catch (const sdbus::Error& error) {
        writeLog("Sleep and waking are not noticed. " + error.getMessage());
    }
}

LogindSleepWatch::~LogindSleepWatch() {
    if (m_thread) m_thread->stop();
}

void LogindSleepWatch::listen() {
    m_logind = sdbus::createProxy(m_thread->connection(), "org.freedesktop.login1",
                                  "/org/freedesktop/login1");
    m_logind->registerSignalHandler("org.freedesktop.login1.Manager", "PrepareForSleep",
                                    [this](sdbus::Signal& signal) { passOn(signal); });
    m_logind->finishRegistration();
    m_thread->start();
}

void LogindSleepWatch::passOn(sdbus::Signal& signal) {
    bool isGoingToSleep = false;
    try {
        signal >> isGoingToSleep;
    } catch (const sdbus::Error& error) {
        return writeLog("What logind told was not understood: " + error.getMessage());
    }
    m_mainLoop.post([handlers = std::weak_ptr(m_handlers), isGoingToSleep] {
        const auto known = handlers.lock();
        if (known == nullptr) return;
        // A handler may set others while it is called.
        const auto handler = isGoingToSleep ? known->willSleep : known->didWake;
        if (handler) handler();
    });
}

}  // namespace siftwell
