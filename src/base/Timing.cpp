#include "base/Timing.h"

#include <cstdint>

#include "base/Log.h"
#include "base/Mutex.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

struct Start {
    Mutex mutex;
    rusage usage SW_GUARDED_BY(mutex){};
};

Start lastStart;

rusage usageOfProcess() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage;
}

}  // namespace

double processorSeconds(const rusage& start, const rusage& end) {
    const auto microseconds =
        static_cast<std::int32_t>(end.ru_utime.tv_usec - start.ru_utime.tv_usec +
                                  end.ru_stime.tv_usec - start.ru_stime.tv_usec);
    const auto seconds =
        end.ru_utime.tv_sec - start.ru_utime.tv_sec + end.ru_stime.tv_sec - start.ru_stime.tv_sec;
    return microseconds / 1e6 + static_cast<double>(seconds);
}

void StartTiming() {
    const rusage now = usageOfProcess();
    const MutexLock lock(lastStart.mutex);
    lastStart.usage = now;
}

void StopTiming(const std::string& label) {
    const rusage now = usageOfProcess();
    double seconds = 0;
    {
        const MutexLock lock(lastStart.mutex);
        seconds = processorSeconds(lastStart.usage, now);
    }
    writeLog(filledIn("%@: %f", label, std::to_string(seconds)));
}

}  // namespace siftwell
