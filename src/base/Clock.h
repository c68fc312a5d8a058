// Clock: the time, and waiting for it to pass; a test puts its own in place and never sleeps.
#pragma once

#include <chrono>

#include "base/Date.h"

namespace siftwell {

class Clock {
public:
    virtual ~Clock() = default;

    virtual Date now() const = 0;
    virtual void sleepFor(std::chrono::milliseconds duration) = 0;
};

class SystemClock : public Clock {
public:
    Date now() const override;
    void sleepFor(std::chrono::milliseconds duration) override;
};

// That the calling thread has used since it began: what counts where work is bounded, so that a
// busy machine ends none of it early.
std::chrono::nanoseconds processorTimeOfThread();

}  // namespace siftwell
