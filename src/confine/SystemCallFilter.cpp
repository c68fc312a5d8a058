#include "confine/SystemCallFilter.h"

#include <fcntl.h>
#include <linux/termios.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdint>
#include <initializer_list>
#include <set>
#include <vector>

#include "confine/Failure.h"

namespace siftwell {

namespace {

// Names that a processor does not have are passed over: many are those of older or of 32-bit ones.
constexpr const char* kAllowed[] = {
    // Finding and reading files (opening them: see below)
    "access", "faccessat", "faccessat2", "stat", "stat64", "lstat", "lstat64", "fstat", "fstat64",
    "newfstatat", "fstatat64", "statx", "statfs", "statfs64", "fstatfs", "fstatfs64", "readlink",
    "readlinkat", "getcwd", "getdents", "getdents64", "read", "readv", "pread64", "preadv",
    "preadv2", "lseek", "_llseek", "fadvise64", "fadvise64_64", "arm_fadvise64_64", "readahead",
    // The files it holds; what it can write to are the pipes it was given
    "write", "writev", "close", "close_range", "dup", "dup2", "dup3",
    // Memory of its own, and what the loader does with libraries
    "brk", "mmap", "mmap2", "munmap", "mremap", "mprotect", "madvise", "cacheflush",
    "riscv_flush_icache",
    // How the C library starts, locks and ends
    "arch_prctl", "set_thread_area", "get_thread_area", "set_tls", "get_tls", "set_tid_address",
    "set_robust_list", "rseq", "futex", "futex_time64", "sched_yield", "getrandom", "exit",
    "exit_group", "restart_syscall",
    // What its own signals do
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "sigaction", "sigprocmask", "sigreturn",
    "sigaltstack",
    // Questions about itself, the machine and the time
    "getpid", "getppid", "gettid", "getuid", "getuid32", "geteuid", "geteuid32", "getgid",
    "getgid32", "getegid", "getegid32", "getrlimit", "ugetrlimit", "getrusage", "times", "uname",
    "sysinfo", "getcpu", "time", "gettimeofday", "clock_gettime", "clock_gettime64", "clock_getres",
    "clock_getres_time64"};

// The reader stays as confined as this program is.
constexpr const char* kToBecomeReader[] = {"execve"};

// Copies, and what the database library does with them: locks, journals, pages, waits.
constexpr const char* kToReadDatabases[] = {
    "open",  "openat",    "pwrite64",  "ftruncate", "ftruncate64",     "unlink",
    "rmdir", "unlinkat",  "mkdir",     "mkdirat",   "clock_nanosleep", "clock_nanosleep_time64",
    "fsync", "fdatasync", "fallocate", "nanosleep"};

struct SystemCall {
    const char* name;
    std::vector<scmp_arg_cmp> when;  // all of these
};

// The upper half of an argument that is an int may hold anything; the kernel does not look at it.
constexpr scmp_arg_cmp isInt(unsigned argument, std::uint64_t number) {
    return {argument, SCMP_CMP_MASKED_EQ, 0xFFFFFFFF, number};
}
constexpr scmp_arg_cmp lacksBits(unsigned argument, std::uint64_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}
constexpr scmp_arg_cmp isNull(unsigned argument) { return {argument, SCMP_CMP_EQ, 0, 0}; }

// No signals to others by F_SETOWN.
void appendFileControls(std::vector<SystemCall>& calls, std::initializer_list<int> commands) {
    for (const int command : commands) {
        const scmp_arg_cmp isIt = isInt(1, static_cast<std::uint64_t>(command));
        calls.push_back({"fcntl", {isIt}});
        calls.push_back({"fcntl64", {isIt}});
    }
}

// A reader opens files for reading alone, and locks none, which would keep others from them.
std::vector<SystemCall> allowedToReaders() {
    constexpr std::uint64_t kWriting = O_ACCMODE | O_CREAT | O_TRUNC;
    return {{"open", {lacksBits(1, kWriting)}}, {"openat", {lacksBits(2, kWriting)}}};
}

std::vector<SystemCall> allowedToReadersOfDatabases() {
    std::vector<SystemCall> calls;
    for (const char* name : kToReadDatabases) calls.push_back({name, {}});
    appendFileControls(calls, {F_GETLK, F_SETLK, F_SETLKW});
    return calls;
}

std::vector<SystemCall> allowedSometimes() {
    const auto self = static_cast<std::uint64_t>(getpid());
    std::vector<SystemCall> calls = {
        // Aborting
        {"kill", {isInt(0, self)}},
        {"tkill", {isInt(0, self)}},
        {"tgkill", {isInt(0, self)}},
        // What libraries ask for when they are loaded: the names of mappings, known capabilities
        {"prctl", {isInt(0, PR_SET_VMA)}},
        {"prctl", {isInt(0, PR_CAPBSET_READ)}}};
    for (const std::uint64_t process : {std::uint64_t{0}, self}) {
        calls.push_back({"prlimit64", {isInt(0, process), isNull(2)}});  // reads its own limits
        calls.push_back({"sched_getaffinity", {isInt(0, process)}});
    }
    appendFileControls(calls, {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL});
    // Is it a terminal?
    calls.push_back({"ioctl", {isInt(1, TCGETS)}});
#ifdef TCGETS2
    calls.push_back({"ioctl", {isInt(1, TCGETS2)}});
#endif
    calls.push_back({"ioctl", {isInt(1, TIOCGWINSZ)}});
    return calls;
}

class Filter {
public:
    Filter() {
        if (m_filter == nullptr) fail("make a filter of system calls", ENOMEM);
    }

    void allow(const SystemCall& call) {
        const int number = seccomp_syscall_resolve_name(call.name);
        if (number < 0) return;
        add(SCMP_ACT_ALLOW, number, call.when);
        m_allowed.insert(number);
    }

    // As if the kernel were older: libraries fall back on older calls then (for clone3, openat2 and
    // what is still to come), while they take any other error for the answer.
    void pretendToLackNewerOnes() {
        constexpr int kNumbers = 80;  // from here on they are the same for all processors
        const int first = seccomp_syscall_resolve_name("pidfd_send_signal");
        for (int number = first; number < first + kNumbers; ++number) {
            if (m_allowed.count(number) == 0) add(SCMP_ACT_ERRNO(ENOSYS), number, {});
        }
    }

    void load() {
        const int result = seccomp_load(m_filter);
        if (result < 0) fail("filter system calls", -result);
        seccomp_release(m_filter);
    }

private:
    void add(std::uint32_t action, int number, const std::vector<scmp_arg_cmp>& when) {
        const int result =
            seccomp_rule_add_array(m_filter, action, number, static_cast<unsigned>(when.size()),
                                   when.empty() ? nullptr : when.data());
        if (result < 0) fail("make a rule for a system call", -result);
    }

    scmp_filter_ctx m_filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    std::set<int> m_allowed;
};

}  // namespace

void refuseOtherSystemCalls(Work work) {
    Filter filter;
    for (const char* name : kAllowed) filter.allow({name, {}});
    if (work == Work::BecomeReader) {
        for (const char* name : kToBecomeReader) filter.allow({name, {}});
        for (const SystemCall& call : allowedToReaders()) filter.allow(call);
    } else {
        for (const SystemCall& call : allowedToReadersOfDatabases()) filter.allow(call);
    }
    for (const SystemCall& call : allowedSometimes()) filter.allow(call);
    filter.pretendToLackNewerOnes();
    filter.load();
}

}  // namespace siftwell
