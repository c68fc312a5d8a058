// siftwell-confined PROGRAM [ARGUMENT...]: becomes another program after taking from itself what
// a reader of strange files has no need of.
//
// What is left: reading files, computing for 30 seconds in 512 MB, and writing to the pipes it was
// given. It can change no file, speak to no network or other process, start no process, and touch
// no other process; it dies with the thread that launched it.
//
// Errors: exit status 125 and a line on the error output when it could not be confined (nothing was
// run then), 126 and 127, as a shell's, when the program could not be run or is not there. A kernel
// without Landlock is none: the filter of system calls refuses all writing too.

#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace {

constexpr int kNotConfined = 125;
constexpr int kNotRun = 126;
constexpr int kNotFound = 127;

[[noreturn]] void fail(const char* what, int error, int exitStatus = kNotConfined) {
    std::fprintf(stderr, "siftwell-confined: %s: %s\n", what, std::strerror(error));
    std::_Exit(exitStatus);
}

void require(long result, const char* what) {
    if (result < 0) fail(what, errno);
}

// ---- Limits

// Lower ones stay.
void limit(decltype(RLIMIT_AS) resource, rlim_t amount, rlim_t atLast) {
    rlimit limits{};
    require(getrlimit(resource, &limits), "read a limit");
    limits.rlim_max = std::min(limits.rlim_max, atLast);
    limits.rlim_cur = std::min(limits.rlim_max, amount);
    require(setrlimit(resource, &limits), "set a limit");
}

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

// ---- Files may be read and run; nothing else

// By the versions of Landlock; the headers know the older ones only.
std::uint64_t accessesKnownTo(long version) {
    constexpr std::uint64_t kOfVersion1 = LANDLOCK_ACCESS_FS_MAKE_SYM * 2 - 1;
    constexpr std::uint64_t kRefer = 1U << 13;
    constexpr std::uint64_t kTruncate = 1U << 14;
    constexpr std::uint64_t kControlDevice = 1U << 15;
    std::uint64_t accesses = kOfVersion1;
    if (version >= 2) accesses |= kRefer;
    if (version >= 3) accesses |= kTruncate;
    if (version >= 5) accesses |= kControlDevice;
    return accesses;
}

void allowReadingOnly() {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    // Older containers refuse calls that they do not know.
    if (version < 0 && (errno == ENOSYS || errno == EOPNOTSUPP || errno == EPERM)) return;
    require(version, "ask for Landlock");
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = accessesKnownTo(version);
    const long rules = syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0);
    require(rules, "make rules for files");

    landlock_path_beneath_attr everywhere{};
    everywhere.allowed_access =
        LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    everywhere.parent_fd = open("/", O_PATH | O_CLOEXEC);
    require(everywhere.parent_fd, "open the root folder");
    require(syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &everywhere, 0),
            "add a rule for files");
    require(syscall(SYS_landlock_restrict_self, rules, 0), "follow the rules for files");
    close(everywhere.parent_fd);
    close(static_cast<int>(rules));
}

// ---- System calls that fail

struct SystemCall {
    const char* name;
    std::vector<scmp_arg_cmp> when = {};  // all of these; always when empty
};

constexpr scmp_arg_cmp hasBits(unsigned argument, std::uint64_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, bits};
}
constexpr scmp_arg_cmp lacksBits(unsigned argument, std::uint64_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}
// The upper half of an argument that is an int may hold anything.
constexpr scmp_arg_cmp isInt(unsigned argument, std::uint64_t number) {
    return {argument, SCMP_CMP_MASKED_EQ, 0xFFFFFFFF, number};
}
constexpr scmp_arg_cmp isNot(unsigned argument, std::uint64_t number) {
    return {argument, SCMP_CMP_NE, number, 0};
}

constexpr const char* kCallsThatReachOut[] = {
    "socket", "socketpair", "socketcall",
    // Other processes, and what they share
    "ptrace", "process_vm_readv", "process_vm_writev", "process_madvise", "kcmp", "pidfd_getfd",
    "pidfd_send_signal", "tkill", "shmget", "semget", "msgget", "ipc", "mq_open", "mq_unlink",
    "add_key", "request_key", "keyctl",
    // New processes, whose memory and time would count anew, and ways out of the group
    "fork", "vfork", "setsid", "setpgid", "setrlimit",
    // Large parts of the kernel that no reader of files needs
    "unshare", "setns", "mount", "umount2", "pivot_root", "chroot", "move_mount", "open_tree",
    "fsopen", "mount_setattr", "bpf", "perf_event_open", "userfaultfd", "io_uring_setup",
    "io_uring_enter", "io_uring_register", "init_module", "finit_module", "delete_module",
    "kexec_load", "kexec_file_load"};

std::vector<SystemCall> callsThatReachOutSometimes() {
    const auto self = static_cast<std::uint64_t>(getpid());
    return {{"kill", {isNot(0, self)}},
            {"tgkill", {isNot(0, self)}},
            {"rt_sigqueueinfo", {isNot(0, self)}},
            {"rt_tgsigqueueinfo", {isNot(0, self)}},
            {"prlimit64", {isNot(2, 0)}},  // reading limits is harmless
            {"ioctl", {isInt(1, TIOCSTI)}},
            {"ioctl", {isInt(1, TIOCLINUX)}},
            {"clone", {lacksBits(0, CLONE_THREAD)}},
            {"prctl", {isInt(0, PR_SET_PDEATHSIG)}}};
}

// Landlock, where there is any, refuses most of these too, but changes of a file's attributes and,
// before its version 3, of its length.
constexpr const char* kCallsThatChangeFiles[] = {
    "creat",       "truncate",        "truncate64",   "link",     "linkat",    "symlink",
    "symlinkat",   "unlink",          "unlinkat",     "rename",   "renameat",  "renameat2",
    "mkdir",       "mkdirat",         "rmdir",        "mknod",    "mknodat",   "chmod",
    "fchmod",      "fchmodat",        "chown",        "chown32",  "fchown",    "fchown32",
    "fchownat",    "lchown",          "lchown32",     "setxattr", "lsetxattr", "fsetxattr",
    "removexattr", "lremovexattr",    "fremovexattr", "utime",    "utimes",    "futimesat",
    "utimensat",   "utimensat_time64"};

std::vector<SystemCall> callsThatOpenForWriting() {
    std::vector<SystemCall> calls;
    for (const int flag : {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC}) {
        calls.push_back({"open", {hasBits(1, static_cast<std::uint64_t>(flag))}});
        calls.push_back({"openat", {hasBits(2, static_cast<std::uint64_t>(flag))}});
    }
    return calls;
}

// Newer than the library; their numbers are the same on all processors.
constexpr int kNewCallsThatChangeFiles[] = {452,   // fchmodat2
                                            463,   // setxattrat
                                            466,   // removexattrat
                                            469};  // file_setattr

void add(scmp_filter_ctx filter, int error, int number, const std::vector<scmp_arg_cmp>& when) {
    const int result = seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(static_cast<unsigned>(error)),
                                              number, static_cast<unsigned>(when.size()),
                                              when.empty() ? nullptr : when.data());
    if (result < 0) fail("refuse a system call", -result);
}

void add(scmp_filter_ctx filter, int error, const SystemCall& call) {
    const int number = seccomp_syscall_resolve_name(call.name);
    // Processors have not all of them.
    if (number >= 0) add(filter, error, number, call.when);
}

void refuseSystemCalls() {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (filter == nullptr) fail("make a filter of system calls", ENOMEM);
    for (const char* name : kCallsThatReachOut) add(filter, EPERM, {name});
    for (const SystemCall& call : callsThatReachOutSometimes()) add(filter, EPERM, call);
    for (const char* name : kCallsThatChangeFiles) add(filter, EACCES, {name});
    for (const SystemCall& call : callsThatOpenForWriting()) add(filter, EACCES, call);
    for (const int number : kNewCallsThatChangeFiles) add(filter, EACCES, number, {});
    // Their arguments lie in memory, where a filter cannot see them; who calls them falls back on
    // the older ones.
    for (const char* name : {"clone3", "openat2"}) add(filter, ENOSYS, {name});
    const int result = seccomp_load(filter);
    if (result < 0) fail("filter system calls", -result);
    seccomp_release(filter);
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 2) {
        std::fputs("Usage: siftwell-confined PROGRAM [ARGUMENT...]\n", stderr);
        return kNotConfined;
    }
    require(prctl(PR_SET_PDEATHSIG, SIGKILL), "die with the launching thread");
    require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "give up new rights");
    allowReadingOnly();
    limitResources();
    refuseSystemCalls();
    execvp(argv[1], argv + 1);
    fail(argv[1], errno, errno == ENOENT ? kNotFound : kNotRun);
}
