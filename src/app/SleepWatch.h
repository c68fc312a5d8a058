// SleepWatch: tells when the computer goes to sleep and when it wakes; a test does so itself.
//
// Threads: main, where the handlers are called too.
#pragma once

#include <functional>

namespace siftwell {

class SleepWatch {
public:
    struct Handlers {
        std::function<void()> willSleep;
        std::function<void()> didWake;
    };

    virtual ~SleepWatch() = default;
    virtual void setHandlers(Handlers handlers) = 0;
};

}  // namespace siftwell
