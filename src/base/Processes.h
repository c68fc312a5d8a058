// Processes: runs other programs, each to its end.
//
// A child is alone in its process group, has no signal blocked and none but the default actions,
// and holds no file of ours but the three it is given. When its run is over, however it came about,
// whatever is left of its group is killed. A child is collected by its own ID, never as "any
// child".
//
// Threads: any, each its own run. The thread that runs a child waits for it.
// Errors: as Status when the child could not be launched: NotFound, Denied for a program that is
// not there or may not be run. Everything that comes later is told by the Outcome.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/Mutex.h"
#include "base/Status.h"

namespace siftwell {

class Processes {
public:
    struct Command {
        // The program first, by its path or a name that is looked for in PATH. None may hold a NUL.
        std::vector<std::string> arguments;
        std::optional<std::vector<std::string>> environment;  // "NAME=value"; ours when not given
        std::string inputFile;  // a regular file; the child reads nothing when empty
        std::size_t maxOutputBytes = std::size_t{1} << 20;
        std::size_t maxErrorBytes = std::size_t{4} << 10;  // what comes after it is dropped
        std::chrono::milliseconds timeLimit = std::chrono::seconds(30);
    };

    enum class End {
        Exited,     // `status` is its exit status
        Signalled,  // `status` is the signal that it died from
        // It was killed because
        TooSlow,    // its time was over,
        TooLong,    // it wrote more than `maxOutputBytes`; `output` is as much of it,
        Stopped,    // the caller asked for it,
        Forgotten,  // and did not end: it is collected by a later run.
    };

    struct Outcome {
        End end = End::Exited;
        int status = 0;
        std::string output;
        std::string errors;  // the beginning of its error output

        bool isSuccess() const { return end == End::Exited && status == 0; }
    };

    virtual ~Processes() = default;
    virtual Result<Outcome> run(const Command& command, const std::stop_token& stop) = 0;

    // How it ended, for the log: "exit status 3".
    static std::string description(const Outcome& outcome);
};

class SystemProcesses : public Processes {
public:
    Result<Outcome> run(const Command& command, const std::stop_token& stop) override;

private:
    void collectForgotten();
    void forget(FileDescriptor process);

    Mutex m_mutex;
    std::vector<FileDescriptor> m_forgotten SW_GUARDED_BY(m_mutex);
};

// Where PATH has the program of that name; none when it is not there.
std::optional<std::string> pathOfProgram(const std::string& name);

}  // namespace siftwell
