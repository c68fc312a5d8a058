// Launching: how children are made, for those that follow them.
//
// A child is alone in its process group, has no signal blocked and none but the default actions,
// and holds no file of ours but the three it is given. It is collected by its own ID, never as "any
// child".
//
// Threads: any. Errors: as Status when it could not be launched: NotFound, Denied for a program
// that is not there or may not be run.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/Status.h"

namespace siftwell {

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};
// Both ends wait; none is one of the three standard files.
Result<Pipe> makePipe();
Status stopWaiting(const FileDescriptor& file);  // reads and writes return at once from now on

// A regular file, or nothing at all for an empty path.
Result<FileDescriptor> openInput(const std::string& path);

class Child {
public:
    // The program first, by its path or a name that is looked for in PATH. The environment holds
    // "NAME=value"; ours when not given.
    struct Files {
        const FileDescriptor& input;
        const FileDescriptor& output;
        const FileDescriptor& errors;
    };
    static Result<Child> launch(const std::vector<std::string>& arguments,
                                const std::optional<std::vector<std::string>>& environment,
                                const Files& files);

    // Becomes readable when it has ended; closed once it was collected.
    const FileDescriptor& process() const { return m_process; }
    FileDescriptor takeProcess() && { return std::move(m_process); }

    void signal(int number) const;  // to its group, and to itself if it has left that
    // How it ended: an exit status or a signal. None when it goes on for longer than that.
    struct End {
        bool isSignal = false;
        int status = -1;
    };
    std::optional<End> collect(std::chrono::milliseconds longest);

private:
    Child(pid_t id, FileDescriptor process) : m_id(id), m_process(std::move(process)) {}

    pid_t m_id;
    FileDescriptor m_process;
};

bool isReadableWithin(const FileDescriptor& file, std::chrono::milliseconds time);
// For poll(): whole milliseconds, at most an hour.
int millisecondsUntil(std::chrono::steady_clock::time_point end);

}  // namespace siftwell
