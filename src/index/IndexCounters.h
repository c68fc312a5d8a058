// The counters of documents and the gate that indexing passes.
//
// Threads: any; each is guarded by a mutex of its own, held for the update only.
#pragma once

#include <cstdint>

#include "base/Mutex.h"
#include "base/NotificationCentre.h"

namespace siftwell {

// A number that is never below zero.
class DocumentCounter {
public:
    std::int64_t value() const;
    // Answers the sum as it would be without the bound.
    std::int64_t add(std::int64_t change);
    std::int64_t set(std::int64_t value);  // answers its argument

private:
    mutable Mutex m_mutex;
    std::int64_t m_value SW_GUARDED_BY(m_mutex) = 0;
};

// IndexingGate: how many reasons there are for indexing to be off. Closed until the indexes are
// loaded.
class IndexingGate {
public:
    explicit IndexingGate(NotificationCentre& centre) : m_centre(centre) {}

    // One reason less. Posts "SiftwellIndexingToggleNotification" with true when it was the last;
    // an open gate stays open, with a line in the log.
    void enable();
    // One reason more. Posts false and answers true when it was the first.
    bool disable();
    bool isEnabled() const;
    int reasons() const;

private:
    NotificationCentre& m_centre;
    mutable Mutex m_mutex;
    int m_reasons SW_GUARDED_BY(m_mutex) = 1;
};

}  // namespace siftwell
