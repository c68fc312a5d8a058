#include "base/Clock.h"

#include <ctime>

#include <thread>

namespace siftwell {

Date SystemClock::now() const {
    const auto sinceUnix = std::chrono::system_clock::now().time_since_epoch();
    return Date::fromUnix(std::chrono::duration<double>(sinceUnix).count());
}

void SystemClock::sleepFor(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

std::chrono::nanoseconds processorTimeOfThread() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

}  // namespace siftwell
