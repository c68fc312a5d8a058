// ProgramWindows: what the driver, other programs and the desktop's keys ask of the windows.
//
// Threads: main.
#pragma once

#include <string>

#include "base/Status.h"

namespace siftwell {

class ProgramWindows {
public:
    virtual ~ProgramWindows() = default;

    // The search window, in front, with the keyboard in its field.
    virtual void showSearch() = 0;
    // Brings the program to the front, or hides it when it is there: what the global hot key does.
    virtual void toggle() = 0;
    // Shows the search window and searches for the text.
    virtual Status searchFor(const std::string& text) = 0;
};

}  // namespace siftwell
