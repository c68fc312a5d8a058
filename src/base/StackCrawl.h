// StackCrawl: the calls that led to a place, with the names of their functions.
//
// Names come from the symbols of the loaded images, and where those have none, from the images'
// files, as far as a file is the very build that was loaded.
//
// Threads: any. Nothing here allocates memory, so that handlers of faults may use it; to look up a
// name the dynamic linker's own lock is taken for a moment.
// Errors: none; what has no name is "(unknown)".
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace siftwell {

struct StackFrame {
    std::uintptr_t frame = 0;  // the stack pointer behind the call
    std::uintptr_t returnAddress = 0;
    bool isCall = true;  // false for an instruction at which a signal came in between
};

// The innermost calls, beginning with the caller's.
class StackFrames {
public:
    static StackFrames ofThisThread();

    std::span<const StackFrame> all() const { return {m_frames.data(), m_count}; }

private:
    std::array<StackFrame, 64> m_frames;
    std::size_t m_count = 0;
};

// "  FRAME  ADDRESS  NAME+OFFSET" in hexadecimal digits. A name that is too long is cut off.
class StackLine {
public:
    explicit StackLine(const StackFrame& frame);

    std::string_view text() const { return {m_text.data(), m_length}; }

private:
    std::array<char, 1024> m_text;
    std::size_t m_length = 0;
};

// What cannot be written is lost.
void writeText(int descriptor, std::string_view text);

// A heading and one line for each frame.
void writeStackCrawl(int descriptor, std::span<const StackFrame> frames);

// The crawl of the calling thread, on standard error; to be called from a debugger or from code
// under examination. The argument is for calls that have to pass one.
void DumpStackCrawl(int ignored);

}  // namespace siftwell
