// FaultReport: the last words of a program: to standard error and, where it is known, to the file
// of the log.
//
// Threads: any, signal handlers among them. Nothing is allocated and no lock of the log is taken.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "base/FileDescriptor.h"
#include "base/StackCrawl.h"

namespace siftwell {

class FaultReport {
public:
    // The file that reports go to from now on. Not while one is being written.
    static void setLogFile(std::string_view path);

    // Opens with the time, what happened, and the name of the thread.
    explicit FaultReport(const char* what);

    void write(std::span<const StackFrame> frames) const;

private:
    std::array<int, 2> descriptors() const { return {STDERR_FILENO, m_file.get()}; }

    const FileDescriptor m_file;
};

}  // namespace siftwell
