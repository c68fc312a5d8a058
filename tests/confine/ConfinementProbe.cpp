// Tries what a confined program must not be able to do: prints the names of what succeeded, and
// those of what did not on the error output.
//
//   ConfinementProbe FOLDER MEMORY
//   ConfinementProbe --without-landlock PROGRAM [ARGUMENT...]
//   ConfinementProbe --databases OWN FOLDER MEMORY
//
// The folder holds a file "victim"; MEMORY is the ID of a segment of shared memory. Without
// confinement it does them harm, and none to the process that launched it. The second form becomes
// the program, to which the kernel seems to have no Landlock. The third confines itself like a
// reader of databases, which may read the victim and write below the folder OWN.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#include "confine/FileRules.h"
#include "confine/SystemCallFilter.h"

namespace {

const pid_t g_launcher = getppid();

void attempt(const char* name, long result) {
    std::fprintf(result < 0 ? stderr : stdout, "%s\n", name);
    std::fflush(stdout);  // children that come about have nothing to write
}

// For what goes wrong in any case or may not be done: does the kernel hear of it? With a number, so
// that no library stands between.
template <typename... Arguments>
void call(const char* name, long number, Arguments... arguments) {
    errno = 0;
    const long result = syscall(number, arguments...);
    const bool isRefused = result < 0 && (errno == EPERM || errno == ENOSYS);
    attempt(name, isRefused ? -1 : 0);
}

// The child ends; nothing of it is left in the group.
void endChild(long process) {
    if (process == 0) _exit(0);
    if (process > 0) waitpid(static_cast<pid_t>(process), nullptr, 0);
}

// What it may do, so that silence is not for lack of a file.
void tryWhatIsAllowed(const char* victim) {
    attempt("read", open(victim, O_RDONLY | O_CLOEXEC));
    attempt("signal itself", kill(getpid(), 0));
    rlimit limits{};
    attempt("own limits", getrlimit(RLIMIT_NOFILE, &limits));
}

void tryNetworks() {
    attempt("internet", socket(AF_INET, SOCK_STREAM, 0));
    attempt("internet 6", socket(AF_INET6, SOCK_DGRAM, 0));
    attempt("local socket", socket(AF_UNIX, SOCK_STREAM, 0));
    attempt("kernel socket", socket(AF_NETLINK, SOCK_RAW, 0));
}

void tryFiles(const std::string& folder, const char* victim) {
    const std::string other = folder + "/other";
    const std::string second = folder + "/second";
    const char* const made = other.c_str();
    const int file = open(victim, O_RDONLY | O_CLOEXEC);
    struct flock range {};
    range.l_type = F_RDLCK;
    attempt("lock", fcntl(file, F_SETLK, &range));
    attempt("lock alone", flock(file, LOCK_EX | LOCK_NB));
    attempt("owner of a file", fcntl(file, F_SETOWN, g_launcher));
    attempt("watch", inotify_init1(IN_CLOEXEC));
    attempt("write", open(victim, O_WRONLY));
    attempt("append", open(victim, O_WRONLY | O_APPEND));
    attempt("truncate", truncate(victim, 0));
    attempt("open and truncate", open(victim, O_RDONLY | O_TRUNC));
    attempt("rights", chmod(victim, 0777));
    attempt("time", utimensat(AT_FDCWD, victim, nullptr, 0));
    call("new open", SYS_openat2, AT_FDCWD, victim, nullptr, 0);
    attempt("link", link(victim, made));
    attempt("symlink", symlink(victim, second.c_str()));
    attempt("folder", mkdir((folder + "/folder").c_str(), 0700));
    attempt("create", open((folder + "/third").c_str(), O_CREAT | O_RDWR, 0600));
    attempt("rename", rename(made, second.c_str()));
    attempt("unlink", unlink(victim));
}

// The launcher's are set to what they are.
void tryOtherProcesses() {
    attempt("signal", kill(g_launcher, 0));
    attempt("priority", setpriority(PRIO_PROCESS, static_cast<id_t>(g_launcher),
                                    getpriority(PRIO_PROCESS, static_cast<id_t>(g_launcher))));
    constexpr int kProcess = 1;  // IOPRIO_WHO_PROCESS
    call("priority of files", SYS_ioprio_set, kProcess, g_launcher,
         syscall(SYS_ioprio_get, kProcess, g_launcher));
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(0, &processors);
    sched_getaffinity(g_launcher, sizeof processors, &processors);
    attempt("processors", sched_setaffinity(g_launcher, sizeof processors, &processors));
    sched_param parameters{};
    attempt("scheduling",
            sched_setscheduler(g_launcher, sched_getscheduler(g_launcher), &parameters));
    rlimit limits{};
    attempt("limits of another", prlimit(g_launcher, RLIMIT_NOFILE, nullptr, &limits));
    getrlimit(RLIMIT_NOFILE, &limits);
    attempt("limits", setrlimit(RLIMIT_NOFILE, &limits));

    constexpr pid_t kNobody = 0x7FFFFFFF;
    call("trace", SYS_ptrace, PTRACE_SEIZE, kNobody, nullptr, nullptr);
    call("memory of another", SYS_process_vm_readv, kNobody, nullptr, 0, nullptr, 0, 0);
    call("write memory of another", SYS_process_vm_writev, kNobody, nullptr, 0, nullptr, 0, 0);
    call("handle of another", SYS_pidfd_open, kNobody, 0);
    call("file of another", SYS_pidfd_getfd, -1, 0, 0);
    call("signal to a handle", SYS_pidfd_send_signal, -1, 0, nullptr, 0);
    call("queued signal", SYS_rt_sigqueueinfo, kNobody, SIGTERM, nullptr);
    call("lock list of another", SYS_get_robust_list, kNobody, nullptr, nullptr);

    const std::string launcher = "/proc/" + std::to_string(g_launcher);
    attempt("/proc/PID/mem", open((launcher + "/mem").c_str(), O_RDONLY));
    attempt("/proc/PID/environ", open((launcher + "/environ").c_str(), O_RDONLY));
    attempt("/proc/PID/maps", open((launcher + "/maps").c_str(), O_RDONLY));
}

void trySharedObjects(int memory) {
    attempt("attach memory", shmat(memory, nullptr, 0) == reinterpret_cast<void*>(-1) ? -1 : 0);
    attempt("remove memory", shmctl(memory, IPC_RMID, nullptr));
    const int own = shmget(IPC_PRIVATE, 1, 0600);
    attempt("make memory", own);
    if (own >= 0) shmctl(own, IPC_RMID, nullptr);
    call("semaphore", SYS_semop, -1, nullptr, 0);
    call("timed semaphore", SYS_semtimedop, -1, nullptr, 0, nullptr);
    call("control of semaphores", SYS_semctl, -1, 0, 0);
    call("message", SYS_msgsnd, -1, nullptr, 0, 0);
    call("read message", SYS_msgrcv, -1, nullptr, 0, 0, 0);
    call("control of messages", SYS_msgctl, -1, 0, nullptr);
    call("message queue", SYS_mq_open, "", 0, 0, nullptr);
    call("send to a queue", SYS_mq_timedsend, -1, nullptr, 0, 0, nullptr);
    call("read from a queue", SYS_mq_timedreceive, -1, nullptr, 0, nullptr, nullptr);
    attempt("memory file", memfd_create("probe", MFD_CLOEXEC));
    call("key", SYS_keyctl, -1, 0, 0, 0, 0);
    call("new key", SYS_add_key, nullptr, nullptr, nullptr, 0, 0);
}

void tryTerminals() {
    call("typing into a terminal", SYS_ioctl, -1, TIOCSTI, "x");
    call("typing, padded", SYS_ioctl, -1, TIOCSTI | 0x100000000UL, "x");
    call("pasting into a terminal", SYS_ioctl, -1, TIOCLINUX, "x");
    call("state of a terminal", SYS_ioctl, -1, TCSETS, nullptr);
    call("taking a terminal", SYS_ioctl, -1, TIOCSCTTY, 0);
    call("foreground", SYS_ioctl, -1, TIOCSPGRP, nullptr);
    call("owner by ioctl", SYS_ioctl, -1, FIOSETOWN, nullptr);
}

void* doNothing(void*) { return nullptr; }

void tryNewProcesses() {
    const pid_t child = fork();
    endChild(child);
    attempt("fork", child);
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    const long newChild = syscall(SYS_clone3, &arguments, sizeof arguments);
    endChild(newChild);
    attempt("clone3", newChild);
    pthread_t thread{};
    const int error = pthread_create(&thread, nullptr, doNothing, nullptr);
    if (error == 0) pthread_join(thread, nullptr);
    attempt("thread", -error);
    attempt("group", setpgid(0, getpgid(g_launcher)));
    attempt("session", setsid());
}

void tryTheKernel() {
    call("ring", SYS_io_uring_setup, 1, nullptr);
    call("counters", SYS_perf_event_open, nullptr, 0, -1, -1, 0);
    call("kernel program", SYS_bpf, -1, nullptr, 0);
    call("comparison", SYS_kcmp, getpid(), getpid(), 0, 0, 0);
    call("page faults", SYS_userfaultfd, -1);
    call("personality", SYS_personality, 0xFFFFFFFF);
    call("state of itself", SYS_prctl, PR_GET_DUMPABLE, 0, 0, 0, 0);
    call("Landlock", SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    attempt("namespace", unshare(CLONE_NEWUSER));
}

void tryMemoryAndTime() {
    constexpr std::size_t kMemory = std::size_t{600} << 20;
    const void* const memory =
        mmap(nullptr, kMemory, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    attempt("memory", memory == MAP_FAILED ? -1 : 0);
    rlimit seconds{};
    getrlimit(RLIMIT_CPU, &seconds);
    attempt("computing time", seconds.rlim_cur > 30 ? 0 : -1);
}

void confineToDatabases(const std::string& own, const std::string& victim) {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (!siftwell::allowOnly({victim}, own)) attempt("without Landlock", 0);
    siftwell::refuseOtherSystemCalls(siftwell::Work::ReadDatabases);
    const std::string copy = own + "/copy";
    const int file = open(copy.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    const bool isKept = pwrite(file, "x", 1, 0) == 1 && ftruncate(file, 0) == 0;
    attempt("own file", isKept ? unlink(copy.c_str()) : -1);
}

int becomeWithoutLandlock(char* const arguments[]) {
    sock_filter steps[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_landlock_create_ruleset, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{static_cast<unsigned short>(std::size(steps)), steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0) {
        execv(arguments[0], arguments);
    }
    std::perror(arguments[0]);
    return EXIT_FAILURE;
}

void tryAll(const std::string& folder, int memory) {
    const std::string victim = folder + "/victim";
    tryWhatIsAllowed(victim.c_str());
    tryNetworks();
    tryOtherProcesses();
    trySharedObjects(memory);
    tryTerminals();
    tryMemoryAndTime();
    tryFiles(folder, victim.c_str());
    tryNewProcesses();
    tryTheKernel();
}

}  // namespace

int main(int, char* argv[]) {
    const std::string folder = argv[1];
    if (folder == "--without-landlock") return becomeWithoutLandlock(argv + 2);
    if (folder == "--databases") {
        const std::string own = argv[2];
        argv += 2;
        confineToDatabases(own, std::string(argv[1]) + "/victim");
    }
    tryAll(argv[1], std::atoi(argv[2]));
}
