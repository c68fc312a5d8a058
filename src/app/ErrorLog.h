// ErrorLog: the errors of the last days, in a file that every process of the user can read.
//
// One JSON object per line with the keys of the error notification. The file is private, bounded,
// and started anew from its younger half when it has grown too long.
//
// Threads: main. Errors: a file that cannot be written is said once in the log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/NotificationCentre.h"
#include "base/Status.h"

namespace siftwell {

struct LoggedError {
    std::string error;
    std::int64_t severity = 0;
    std::string url;
    std::string details;
    std::string date;  // local time, "%Y-%m-%d %H:%M:%S"
};

class ErrorLog {
public:
    ErrorLog(NotificationCentre& centre, const std::string& stateFolder);

    // What the file holds, oldest first. Lines that cannot be read are left out.
    static std::vector<LoggedError> read(const std::string& stateFolder);
    // Forgets all of it.
    static Status clear(const std::string& stateFolder);

private:
    void add(const PropertyList& record);

    const std::string m_file;
    bool m_isFailureLogged = false;
    NotificationCentre::Observation m_observation;
};

}  // namespace siftwell
