#include "base/Processes.h"

#include <poll.h>
#include <sys/eventfd.h>
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
#include "base/Launching.h"

namespace siftwell {

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365);
constexpr std::chrono::milliseconds kToDie = std::chrono::seconds(2);
constexpr std::size_t kBytesOfPipe = std::size_t{1} << 20;  // as large as a child can make it

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

class Follower {
public:
    static Result<Follower> launch(const Processes::Command& command);

    Processes::Outcome follow(std::chrono::milliseconds timeLimit, const std::stop_token& stop);

    // Empty when the child was collected.
    FileDescriptor takeProcess() && { return std::move(m_child).takeProcess(); }

private:
    Follower(Child child, Output output, Output errors)
        : m_child(std::move(child)), m_output(std::move(output)), m_errors(std::move(errors)) {}

    Processes::End wait(Time end, const std::stop_token& stop);
    void collect(Processes::Outcome& outcome);

    Child m_child;
    Output m_output;
    Output m_errors;
};

Result<Follower> Follower::launch(const Processes::Command& command) {
    if (command.inputFile.find('\0') != std::string::npos) {
        return Status(StatusCode::Invalid, "This is no command that could be run.");
    }
    const auto input = openInput(command.inputFile);
    if (!input) return input.status();
    auto output = makePipe();
    if (!output) return output.status();
    auto errors = makePipe();
    if (!errors) return errors.status();
    for (const Pipe* pipe : {&*output, &*errors}) {
        if (Status status = stopWaiting(pipe->reading); !status.isOk()) return status;
    }
    auto child = Child::launch(command.arguments, command.environment,
                               {*input, output->writing, errors->writing});
    if (!child) return child.status();
    return Follower(*std::move(child), Output(std::move(output->reading), command.maxOutputBytes),
                    Output(std::move(errors->reading), command.maxErrorBytes));
}

Processes::Outcome Follower::follow(std::chrono::milliseconds timeLimit,
                                    const std::stop_token& stop) {
    const Time end = std::chrono::steady_clock::now() + std::min(timeLimit, kLongest);
    Processes::Outcome outcome{.end = wait(end, stop)};
    m_child.signal(SIGKILL);
    if (outcome.end == Processes::End::Exited) m_output.readRest();
    m_errors.readRest();
    if (m_output.isOverLimit()) outcome.end = Processes::End::TooLong;
    collect(outcome);
    outcome.output = m_output.takeBytes();
    outcome.errors = m_errors.takeBytes();
    return outcome;
}

Processes::End Follower::wait(Time end, const std::stop_token& stop) {
    const FileDescriptor wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const std::stop_callback whenStopped(stop, [&wakeUp] { eventfd_write(wakeUp.get(), 1); });
    while (true) {
        std::array<pollfd, 4> watched = {pollfd{m_child.process().get(), POLLIN, 0},
                                         m_output.watched(), m_errors.watched(),
                                         pollfd{wakeUp.get(), POLLIN, 0}};
        if (poll(watched.data(), watched.size(), millisecondsUntil(end)) < 0) watched = {};
        m_output.read();
        m_errors.read();
        if (watched[0].revents != 0) return Processes::End::Exited;
        if (m_output.isOverLimit()) return Processes::End::TooLong;
        if (stop.stop_requested()) return Processes::End::Stopped;
        if (std::chrono::steady_clock::now() >= end) return Processes::End::TooSlow;
    }
}

void Follower::collect(Processes::Outcome& outcome) {
    const auto end = m_child.collect(kToDie);
    if (!end) {
        outcome.end = Processes::End::Forgotten;
    } else if (outcome.end == Processes::End::Exited) {
        if (end->isSignal) outcome.end = Processes::End::Signalled;
        outcome.status = end->status;
    }
}

}  // namespace

Result<Processes::Outcome> SystemProcesses::run(const Command& command,
                                                const std::stop_token& stop) {
    collectForgotten();
    auto child = Follower::launch(command);
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
