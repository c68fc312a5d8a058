// WriterLock: one process at a time writes settings and indexes of a user.
//
// A lock file in the state folder decides; it holds the number of the process that has it.
//
// Threads: main.
#pragma once

#include <sys/types.h>

#include <string>

#include "base/FileDescriptor.h"
#include "base/Status.h"

namespace siftwell {

class WriterLock {
public:
    // Busy, naming the process, when another one holds the lock; other failures name the file.
    static Result<WriterLock> take(const std::string& stateFolder);

    // The process that holds the lock, or 0.
    static pid_t holder(const std::string& stateFolder);

private:
    explicit WriterLock(FileDescriptor file) : m_file(std::move(file)) {}

    FileDescriptor m_file;
};

}  // namespace siftwell
