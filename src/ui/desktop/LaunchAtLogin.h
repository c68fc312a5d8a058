// LaunchAtLogin: the entry that has the desktop start Siftwell when the user logs in.
//
// Threads: any. Errors: as Status.
#pragma once

#include <string>

#include "base/Paths.h"
#include "base/Status.h"

namespace siftwell {

class LaunchAtLogin {
public:
    explicit LaunchAtLogin(const Paths& paths);

    // Whether there is an entry that the desktop has not switched off.
    bool isOn() const;
    // Writes the entry for this program, or takes it away.
    Status set(bool isOn) const;

    const std::string& file() const { return m_file; }

private:
    const std::string m_file;
};

// An argument as the key Exec of a desktop entry wants it.
std::string quotedForExec(const std::string& argument);

}  // namespace siftwell
