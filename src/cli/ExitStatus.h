// What the program ends with; scripts rely on it.
#pragma once

namespace siftwell {

enum class ExitStatus {
    Done = 0,
    NothingFound = 1,
    WrongUsage = 2,
    SomeFailed = 3,  // done, but some source or page failed; each is named on standard error
    Unusable = 4,    // the index or the settings cannot be used
    InTheWay = 5,    // a running copy is in the way or cannot be reached
};

}  // namespace siftwell
