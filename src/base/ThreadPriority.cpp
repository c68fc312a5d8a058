#include "base/ThreadPriority.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace siftwell {

namespace {

void useIdleInputOutput() {
    constexpr int kThisThread = 1;       // IOPRIO_WHO_PROCESS, 0 for the caller
    constexpr int kIdleClass = 3 << 13;  // IOPRIO_CLASS_IDLE
    syscall(SYS_ioprio_set, kThisThread, 0, kIdleClass);
}

}  // namespace

void useLowestThreadPriority() {
    const sched_param none{};
    if (pthread_setschedparam(pthread_self(), SCHED_IDLE, &none) != 0) {
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 19);
    }
    useIdleInputOutput();
}

void nameThisThread(const char* name) { pthread_setname_np(pthread_self(), name); }

}  // namespace siftwell
