// ErrorList prints what the program reports through its notifier, and counts it.
//
// Threads: main.
#pragma once

#include <cstddef>

#include "base/NotificationCentre.h"
#include "cli/Console.h"

namespace siftwell {

class ErrorList {
public:
    ErrorList(NotificationCentre& centre, Console& console);

    std::size_t size() const { return m_size; }
    // Errors of the index folder or a file in it (severity 9).
    std::size_t indexErrors() const { return m_indexErrors; }

private:
    void add(const PropertyList& record);

    Console& m_console;
    std::size_t m_size = 0;
    std::size_t m_indexErrors = 0;
    NotificationCentre::Observation m_observation;
};

}  // namespace siftwell
