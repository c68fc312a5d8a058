// Tries what a confined program must not be able to do, and prints the names of what succeeded.
//
//   ConfinementProbe FOLDER
//
// The folder holds a file "victim".

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

void attempt(const char* name, long result) {
    if (result >= 0) std::printf("%s\n", name);
}

}  // namespace

int main(int, char* argv[]) {
    const std::string folder = argv[1];
    const std::string victim = folder + "/victim";
    const std::string other = folder + "/other";
    const char* const old = victim.c_str();
    const char* const made = other.c_str();
    // What it may do, so that silence is not for lack of a file.
    attempt("read", open(old, O_RDONLY));
    attempt("signal itself", kill(getpid(), 0));

    attempt("internet", socket(AF_INET, SOCK_STREAM, 0));
    attempt("internet 6", socket(AF_INET6, SOCK_DGRAM, 0));
    attempt("local socket", socket(AF_UNIX, SOCK_STREAM, 0));
    attempt("kernel socket", socket(AF_NETLINK, SOCK_RAW, 0));

    attempt("create", open(made, O_CREAT | O_RDWR, 0600));
    attempt("write", open(old, O_WRONLY));
    attempt("append", open(old, O_WRONLY | O_APPEND));
    attempt("truncate", truncate(old, 0));
    attempt("open and truncate", open(old, O_RDONLY | O_TRUNC));
    attempt("unlink", unlink(old));
    attempt("rename", rename(old, made));
    attempt("link", link(old, made));
    attempt("symlink", symlink(old, made));
    attempt("folder", mkdir(made, 0700));
    attempt("rights", chmod(old, 0777));
    attempt("time", utimensat(AT_FDCWD, old, nullptr, 0));
    attempt("new open", syscall(SYS_openat2, AT_FDCWD, old, nullptr, 0) < 0 ? -1 : 0);

    const pid_t child = fork();
    if (child == 0) _exit(0);
    attempt("fork", child);
    attempt("session", setsid());
    attempt("signal", kill(getppid(), 0));
    attempt("trace", ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr));
    attempt("ring", syscall(SYS_io_uring_setup, 1, nullptr) < 0 ? -1 : 0);

    constexpr std::size_t kMemory = std::size_t{600} << 20;
    if (mmap(nullptr, kMemory, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) !=
        MAP_FAILED) {
        attempt("memory", 0);
    }
    rlimit seconds{};
    getrlimit(RLIMIT_CPU, &seconds);
    if (seconds.rlim_cur > 30) attempt("computing time", 0);
}
