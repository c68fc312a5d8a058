// The system calls that a reader of files needs; all others fail.
#pragma once

namespace siftwell {

// For this process as it is now and for the program that it becomes, so only at the end.
void refuseOtherSystemCalls();

}  // namespace siftwell
