// siftwell-confined PROGRAM [ARGUMENT...]: becomes another program after taking from itself what
// a reader of strange files has no need of.
//
// What is left: reading files, computing for 30 seconds in 512 MB, and writing to the pipes it was
// given. It can open no file for writing and change or lock none, use no network, start no process
// and no thread, and neither signal other processes nor trace them, change their priorities and
// limits, or share memory and messages with them; it dies with the thread that launched it. So much
// holds on every kernel.
//
// It reads whatever its user may read, named pipes included, but for /proc, /sys and /dev: Landlock
// closes them, and where the kernel has none, a namespace in which they are covered. Where users
// may not make one either, they stay open, and with them in /proc the environment of the user's
// other programs, and their memory if the system lets a program look into others of its user. Where
// a namespace may be made but nothing covered, /proc tells the names and the state of processes and
// no more of them. Landlock leaves it to see which files there are, also in those folders.
//
// Errors: exit status 125 and a line on the error output when it could not be confined (nothing was
// run then), 126 and 127, as a shell's, when the program could not be run or is not there. A kernel
// without Landlock is none.

#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "confine/Failure.h"
#include "confine/FileRules.h"
#include "confine/Limits.h"
#include "confine/SystemCallFilter.h"

namespace siftwell {

namespace {

void limitResources() {
    constexpr rlim_t kSeconds = 30;
    constexpr rlim_t kMemory = rlim_t{512} << 20;
    constexpr rlim_t kFiles = 64;
    limit(RLIMIT_CORE, 0, 0);
    limit(RLIMIT_FSIZE, 0, 0);  // pipes have no size
    limit(RLIMIT_NOFILE, kFiles, kFiles);
    limit(RLIMIT_CPU, kSeconds, kSeconds + 1);  // the second signal cannot be caught
    limit(RLIMIT_AS, kMemory, kMemory);
}

[[noreturn]] void becomeConfined(char* const arguments[]) {
    require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "give up new rights");
    if (!allowReadingOnly()) hideKernelFolders();
    // Behind the namespace, whose making may undo it
    require(prctl(PR_SET_PDEATHSIG, SIGKILL), "die with the launching thread");
    limitResources();
    refuseOtherSystemCalls(Work::BecomeReader);
    execvp(arguments[0], arguments);
    fail(arguments[0], errno, errno == ENOENT ? kNotFound : kNotRun);
}

}  // namespace
}  // namespace siftwell

int main(int argc, char* argv[]) {
    if (argc < 2) {
        std::fputs("Usage: siftwell-confined PROGRAM [ARGUMENT...]\n", stderr);
        return siftwell::kNotConfined;
    }
    siftwell::becomeConfined(argv + 1);
}
