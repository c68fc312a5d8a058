#include "base/Clock.h"

#include <thread>

namespace siftwell {

Date SystemClock::now() const {
    const auto sinceUnix = std::chrono::system_clock::now().time_since_epoch();
    return Date::fromUnix(std::chrono::duration<double>(sinceUnix).count());
}

void SystemClock::sleepFor(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace siftwell
