// Conversation: a child program that is told something when it starts and talks back while it runs.
//
// Its error output is kept, up to a limit, for the log. The child, and what it started, is killed
// at the end of the conversation at the latest.
//
// Threads: one at a time. Errors: as Status when the child could not be launched.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Launching.h"

namespace siftwell {

class Conversation {
public:
    using Milliseconds = std::chrono::milliseconds;

    // The arguments are those of Child::launch. The child reads `input` and then the end of it.
    static Result<std::unique_ptr<Conversation>> begin(
        const std::vector<std::string>& arguments,
        const std::optional<std::vector<std::string>>& environment, std::string input);
    ~Conversation();
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    // Appends what the child has written, and waits for it no longer than that. False once there is
    // nothing more to come.
    bool read(std::string& into, Milliseconds longest);

    void askToEnd();  // SIGTERM
    void kill();
    // None while it goes on for longer than that. What it wrote and nobody read is dropped.
    std::optional<Child::End> wait(Milliseconds longest);

    const std::string& errors() const { return m_errors; }

private:
    Conversation(Child child, FileDescriptor input, FileDescriptor output, FileDescriptor errors,
                 std::string text);

    void write();
    void readErrors();

    Child m_child;
    FileDescriptor m_input;  // each is closed when nothing more passes through it
    FileDescriptor m_output;
    FileDescriptor m_errorOutput;
    std::string m_text;
    std::size_t m_written = 0;
    std::string m_errors;
    std::optional<Child::End> m_end;
};

}  // namespace siftwell
