// Deadline: until when a slice of work may go on.
#pragma once

#include <atomic>
#include <chrono>

namespace siftwell::fulltext {

class Deadline {
public:
    // `isCancelled` ends the time at once; it outlives the deadline.
    Deadline(std::chrono::nanoseconds duration, const std::atomic<bool>& isCancelled)
        : m_end(std::chrono::steady_clock::now() + duration), m_isCancelled(isCancelled) {}

    bool isOver() const {
        return m_isCancelled.load(std::memory_order_relaxed) ||
               std::chrono::steady_clock::now() >= m_end;
    }

private:
    std::chrono::steady_clock::time_point m_end;
    const std::atomic<bool>& m_isCancelled;
};

}  // namespace siftwell::fulltext
