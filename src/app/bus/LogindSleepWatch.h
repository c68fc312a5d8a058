// LogindSleepWatch: sleep and waking as logind tells it on the system bus.
//
// Threads: main, where the handlers are called too.
// Errors: without that bus nothing is ever told, which is logged.
#pragma once

#include <sdbus-c++/IProxy.h>

#include <memory>
#include <optional>

#include "app/SleepWatch.h"
#include "app/bus/BusThread.h"
#include "base/RunLoop.h"

namespace siftwell {

class LogindSleepWatch : public SleepWatch {
public:
    // The main loop outlives the watch.
    explicit LogindSleepWatch(RunLoop& mainLoop);
    ~LogindSleepWatch() override;

    void setHandlers(Handlers handlers) override { *m_handlers = std::move(handlers); }

private:
    void listen();
    void passOn(sdbus::Signal& signal);  // bus thread

    RunLoop& m_mainLoop;
    const std::shared_ptr<Handlers> m_handlers = std::make_shared<Handlers>();
    std::optional<BusThread> m_thread;
    std::unique_ptr<sdbus::IProxy> m_logind;
};

}  // namespace siftwell
