#include "base/Launching.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

namespace siftwell {

namespace {

// Called by their numbers: the header of glibc 2.36 is none for C++.
FileDescriptor openProcess(pid_t id) {
    return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
}

void sendSignal(const FileDescriptor& process, int signal) {
    syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0);
}

// The files of a child are put in the places 0 to 2 one after the other; none may lie there before.
FileDescriptor aboveStandardFiles(FileDescriptor file) {
    if (!file.isOpen() || file.get() > STDERR_FILENO) return file;
    return FileDescriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&m_actions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void put(const FileDescriptor& file, int place) {
        posix_spawn_file_actions_adddup2(&m_actions, file.get(), place);
    }
    void closeAllOthers() {
#if __GLIBC_PREREQ(2, 34)  // before it, only what is marked to be closed is
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
#endif
    }
    const posix_spawn_file_actions_t* actions() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

class Attributes {
public:
    Attributes() {
        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        constexpr int kFlags =
            POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP;
        posix_spawnattr_setflags(&m_attributes, static_cast<short>(kFlags));
    }
    ~Attributes() { posix_spawnattr_destroy(&m_attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

std::vector<char*> pointersTo(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    // The call takes them as changeable for old times' sake only.
    for (const std::string& word : words) pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

bool holdsNul(const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return word.find('\0') != std::string::npos;
    });
}

Status notLaunched(int error, const std::string& program) {
    return Status::fromErrno(error, "run the program " + program);
}

}  // namespace

int millisecondsUntil(std::chrono::steady_clock::time_point end) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
}

bool isReadableWithin(const FileDescriptor& file, std::chrono::milliseconds time) {
    pollfd watched{file.get(), POLLIN, 0};
    const auto end = std::chrono::steady_clock::now() + time;
    int ready = 0;
    do {
        ready = poll(&watched, 1, millisecondsUntil(end));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

Result<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) < 0) return Status::fromErrno(errno, "make a pipe");
    Pipe made{aboveStandardFiles(FileDescriptor(ends[0])),
              aboveStandardFiles(FileDescriptor(ends[1]))};
    if (!made.reading.isOpen() || !made.writing.isOpen()) {
        return Status::fromErrno(errno, "make a pipe");
    }
    return made;
}

Status stopWaiting(const FileDescriptor& file) {
    if (fcntl(file.get(), F_SETFL, O_NONBLOCK) == 0) return {};
    return Status::fromErrno(errno, "make a pipe");
}

// A pipe or device in the place of the file would be waited for.
Result<FileDescriptor> openInput(const std::string& path) {
    const char* const name = path.empty() ? "/dev/null" : path.c_str();
    FileDescriptor file = aboveStandardFiles(
        FileDescriptor(open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)));
    if (!file.isOpen()) return Status::fromErrno(errno, "open the file " + path);
    struct stat info {};
    if (!path.empty() && (fstat(file.get(), &info) < 0 || !S_ISREG(info.st_mode))) {
        return Status(StatusCode::Invalid, path + " is no file that can be read.");
    }
    return file;
}

Result<Child> Child::launch(const std::vector<std::string>& arguments,
                            const std::optional<std::vector<std::string>>& environment,
                            const Files& files) {
    if (arguments.empty() || holdsNul(arguments) || (environment && holdsNul(*environment))) {
        return Status(StatusCode::Invalid, "This is no command that could be run.");
    }
    FileActions actions;
    actions.put(files.input, STDIN_FILENO);
    actions.put(files.output, STDOUT_FILENO);
    actions.put(files.errors, STDERR_FILENO);
    actions.closeAllOthers();
    const Attributes attributes;
    const std::vector<char*> words = pointersTo(arguments);
    const auto names = environment.value_or(std::vector<std::string>());
    const std::vector<char*> variables = pointersTo(names);
    pid_t id = 0;
    const int error = posix_spawnp(&id, words.front(), actions.actions(), attributes.attributes(),
                                   words.data(), environment ? variables.data() : environ);
    if (error != 0) return notLaunched(error, arguments.front());

    FileDescriptor process = openProcess(id);
    if (process.isOpen()) return Child(id, std::move(process));
    const int reason = errno;
    ::kill(-id, SIGKILL);
    waitpid(id, nullptr, 0);
    return notLaunched(reason, arguments.front());
}

// A child that has ended keeps its ID, and that of its group, until it is collected. One that has
// left its group is reached by itself.
void Child::signal(int number) const {
    if (!m_process.isOpen()) return;
    ::kill(-m_id, number);
    sendSignal(m_process, number);
}

std::optional<Child::End> Child::collect(std::chrono::milliseconds longest) {
    if (!m_process.isOpen() || !isReadableWithin(m_process, longest)) return std::nullopt;
    siginfo_t info{};
    info.si_status = -1;
    waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &info, WEXITED);
    m_process.reset();
    return End{info.si_code != CLD_EXITED, info.si_status};
}

}  // namespace siftwell
