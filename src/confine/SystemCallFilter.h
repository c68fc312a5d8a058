// The system calls that a reader of strange files needs; all others fail.
#pragma once

namespace siftwell {

enum class Work {
    BecomeReader,   // it becomes another program, which reads files and changes none
    ReadDatabases,  // it stays, and keeps private copies of databases, which it may change
};

// For this process as it is now, so only at the end, and for the program that it becomes.
void refuseOtherSystemCalls(Work work);

}  // namespace siftwell
