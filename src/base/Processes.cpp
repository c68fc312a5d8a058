#include "base/Processes.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "base/Files.h"

namespace siftwell {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365);
constexpr std::chrono::milliseconds kToDie = std::chrono::seconds(2);
constexpr std::size_t kBytesOfPipe = std::size_t{1} << 20;  // as large as a child can make it

int millisecondsUntil(Time end) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
}

bool isReadableWithin(const FileDescriptor& file, std::chrono::milliseconds time) {
    pollfd watched{file.get(), POLLIN, 0};
    const Time end = std::chrono::steady_clock::now() + time;
    int ready = 0;
    do {
        ready = poll(&watched, 1, millisecondsUntil(end));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

// Called by their numbers: the header of glibc 2.36 is none for C++.
FileDescriptor openProcess(pid_t id) {
    return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
}

void sendSignal(const FileDescriptor& process, int signal) {
    syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0);
}

// ---- What a child is launched with

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

// The files of a child are put in the places 0 to 2 one after the other; none may lie there before.
FileDescriptor aboveStandardFiles(FileDescriptor file) {
    if (!file.isOpen() || file.get() > STDERR_FILENO) return file;
    return FileDescriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

Result<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) < 0) return Status::fromErrno(errno, "make a pipe");
    Pipe made{aboveStandardFiles(FileDescriptor(ends[0])),
              aboveStandardFiles(FileDescriptor(ends[1]))};
    if (!made.reading.isOpen() || !made.writing.isOpen() ||
        fcntl(made.reading.get(), F_SETFL, O_NONBLOCK) < 0) {
        return Status::fromErrno(errno, "make a pipe");
    }
    return made;
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

class Files {
public:
    Files() { posix_spawn_file_actions_init(&m_actions); }
    ~Files() { posix_spawn_file_actions_destroy(&m_actions); }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

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

// ---- A child that runs

// One of its outputs: kept up to a limit, and read in any case, so that the child goes on.
class Output {
public:
    Output(FileDescriptor file, std::size_t limit) : m_file(std::move(file)), m_limit(limit) {}

    pollfd watched() const { return {m_file.get(), POLLIN, 0}; }  // none when it has ended
    bool isOverLimit() const { return m_isOverLimit; }
    std::string takeBytes() { return std::move(m_bytes); }

    // Reads once; whether there may be more at once.
    bool read() {
        std::array<char, 65536> buffer;  // NOLINT(*-member-init)
        if (!m_file.isOpen()) return false;
        const ssize_t count = ::read(m_file.get(), buffer.data(), buffer.size());
        if (count > 0) {
            keep({buffer.data(), static_cast<std::size_t>(count)});
            return true;
        }
        if (count < 0 && errno == EINTR) return true;
        if (count == 0 || errno != EAGAIN) m_file.reset();
        return false;
    }

    void readRest() {
        for (std::size_t calls = kBytesOfPipe / 4096; calls > 0 && read();) --calls;
    }

private:
    void keep(std::string_view bytes) {
        const std::size_t room = m_limit - m_bytes.size();
        m_isOverLimit = m_isOverLimit || bytes.size() > room;
        m_bytes.append(bytes.substr(0, room));
    }

    FileDescriptor m_file;
    const std::size_t m_limit;
    std::string m_bytes;
    bool m_isOverLimit = false;
};

class Child {
public:
    static Result<Child> launch(const Processes::Command& command);

    Processes::Outcome follow(std::chrono::milliseconds timeLimit, const std::stop_token& stop);

    // Empty when the child was collected.
    FileDescriptor takeProcess() && { return std::move(m_process); }

private:
    Child(pid_t id, FileDescriptor process, Output output, Output errors)
        : m_id(id),
          m_process(std::move(process)),
          m_output(std::move(output)),
          m_errors(std::move(errors)) {}

    Processes::End wait(Time end, const std::stop_token& stop);
    void kill();
    void collect(Processes::Outcome& outcome);

    pid_t m_id;
    FileDescriptor m_process;
    Output m_output;
    Output m_errors;
};

Status notLaunched(int error, const std::string& program) {
    return Status::fromErrno(error, "run the program " + program);
}

Result<Child> Child::launch(const Processes::Command& command) {
    const auto environment = command.environment.value_or(std::vector<std::string>());
    if (command.arguments.empty() || holdsNul(command.arguments) || holdsNul(environment) ||
        command.inputFile.find('\0') != std::string::npos) {
        return Status(StatusCode::Invalid, "This is no command that could be run.");
    }
    const auto input = openInput(command.inputFile);
    if (!input) return input.status();
    auto output = makePipe();
    if (!output) return output.status();
    auto errors = makePipe();
    if (!errors) return errors.status();

    Files files;
    files.put(*input, STDIN_FILENO);
    files.put(output->writing, STDOUT_FILENO);
    files.put(errors->writing, STDERR_FILENO);
    files.closeAllOthers();
    const Attributes attributes;
    const std::vector<char*> arguments = pointersTo(command.arguments);
    const std::vector<char*> variables = pointersTo(environment);
    pid_t id = 0;
    const int error =
        posix_spawnp(&id, arguments.front(), files.actions(), attributes.attributes(),
                     arguments.data(), command.environment ? variables.data() : environ);
    if (error != 0) return notLaunched(error, command.arguments.front());

    FileDescriptor process = openProcess(id);
    if (!process.isOpen()) {
        const int reason = errno;
        ::kill(-id, SIGKILL);
        waitpid(id, nullptr, 0);
        return notLaunched(reason, command.arguments.front());
    }
    return Child(id, std::move(process), Output(std::move(output->reading), command.maxOutputBytes),
                 Output(std::move(errors->reading), command.maxErrorBytes));
}

Processes::Outcome Child::follow(std::chrono::milliseconds timeLimit, const std::stop_token& stop) {
    const Time end = std::chrono::steady_clock::now() + std::min(timeLimit, kLongest);
    Processes::Outcome outcome{.end = wait(end, stop)};
    kill();
    if (outcome.end == Processes::End::Exited) m_output.readRest();
    m_errors.readRest();
    if (m_output.isOverLimit()) outcome.end = Processes::End::TooLong;
    collect(outcome);
    outcome.output = m_output.takeBytes();
    outcome.errors = m_errors.takeBytes();
    return outcome;
}

Processes::End Child::wait(Time end, const std::stop_token& stop) {
    const FileDescriptor wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const std::stop_callback whenStopped(stop, [&wakeUp] { eventfd_write(wakeUp.get(), 1); });
    while (true) {
        std::array<pollfd, 4> watched = {pollfd{m_process.get(), POLLIN, 0}, m_output.watched(),
                                         m_errors.watched(), pollfd{wakeUp.get(), POLLIN, 0}};
        if (poll(watched.data(), watched.size(), millisecondsUntil(end)) < 0) watched = {};
        m_output.read();
        m_errors.read();
        if (watched[0].revents != 0) return Processes::End::Exited;
        if (m_output.isOverLimit()) return Processes::End::TooLong;
        if (stop.stop_requested()) return Processes::End::Stopped;
        if (std::chrono::steady_clock::now() >= end) return Processes::End::TooSlow;
    }
}

// A child that has ended keeps its ID, and that of its group, until it is collected. One that has
// left its group is reached by itself.
void Child::kill() {
    ::kill(-m_id, SIGKILL);
    sendSignal(m_process, SIGKILL);
}

void Child::collect(Processes::Outcome& outcome) {
    if (!isReadableWithin(m_process, kToDie)) {
        outcome.end = Processes::End::Forgotten;
        return;
    }
    siginfo_t info{};
    info.si_status = -1;
    waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &info, WEXITED);
    m_process.reset();
    if (outcome.end != Processes::End::Exited) return;
    if (info.si_code != CLD_EXITED) outcome.end = Processes::End::Signalled;
    outcome.status = info.si_status;
}

}  // namespace

Result<Processes::Outcome> SystemProcesses::run(const Command& command,
                                                const std::stop_token& stop) {
    collectForgotten();
    auto child = Child::launch(command);
    if (!child) return child.status();
    Outcome outcome = child->follow(command.timeLimit, stop);
    forget((*std::move(child)).takeProcess());
    return outcome;
}

void SystemProcesses::forget(FileDescriptor process) {
    if (!process.isOpen()) return;
    MutexLock lock(m_mutex);
    m_forgotten.push_back(std::move(process));
}

void SystemProcesses::collectForgotten() {
    MutexLock lock(m_mutex);
    std::erase_if(m_forgotten, [](const FileDescriptor& process) {
        siginfo_t info{};
        const auto id = static_cast<id_t>(process.get());
        return waitid(P_PIDFD, id, &info, WEXITED | WNOHANG) < 0 || info.si_pid != 0;
    });
}

std::string Processes::description(const Outcome& outcome) {
    switch (outcome.end) {
        case End::Exited:
            return "exit status " + std::to_string(outcome.status);
        case End::Signalled:
            return "signal " + std::to_string(outcome.status);
        case End::TooSlow:
            return "took too long";
        case End::TooLong:
            return "wrote too much";
        case End::Stopped:
            return "stopped";
        case End::Forgotten:
            break;
    }
    return "could not be ended";
}

std::optional<std::string> pathOfProgram(const std::string& name) {
    const char* const variable = std::getenv("PATH");
    std::string_view folders = variable == nullptr ? "/usr/local/bin:/usr/bin:/bin" : variable;
    while (!folders.empty()) {
        const std::string_view folder = folders.substr(0, folders.find(':'));
        folders.remove_prefix(std::min(folders.size(), folder.size() + 1));
        if (!folder.starts_with('/')) continue;
        std::string path = std::string(folder) + "/" + name;
        const auto info = fileInfo(path);
        if (info && info->isRegular && access(path.c_str(), X_OK) == 0) return path;
    }
    return std::nullopt;
}

}  // namespace siftwell
