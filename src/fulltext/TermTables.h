// TermTables: those of one index that words can still be added to.
//
// Whoever inverts a text takes one and gives it back. The first is small; each further one of the
// same time is larger, up to a limit, so that an index with few new documents takes little memory.
//
// Threads: any.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "base/Mutex.h"
#include "fulltext/TermTable.h"

namespace siftwell::fulltext {

class TermTables {
public:
    // Borrows the filter.
    explicit TermTables(const TermFilter& filter);

    const TermFilter& filter() const { return m_filter; }

    // One that nobody else adds to.
    std::shared_ptr<TermTable> take();
    // Instead of one that turned out to be full, which is not given back: larger when it was so for
    // one text alone, or while tables are small.
    std::shared_ptr<TermTable> takeInsteadOf(std::shared_ptr<TermTable> full, bool isOfOneText);
    void giveBack(std::shared_ptr<TermTable> table);

    // The texts so far need no table any more.
    void startAnew();

    // Of all tables since the last start, as far as texts refer to them.
    std::size_t memoryBytes() const { return m_memoryBytes.load(std::memory_order_relaxed); }

private:
    std::shared_ptr<TermTable> make(std::size_t slots) SW_REQUIRES(m_mutex);

    const TermFilter& m_filter;
    mutable Mutex m_mutex;
    std::vector<std::shared_ptr<TermTable>> m_free SW_GUARDED_BY(m_mutex);
    std::size_t m_nextSlots SW_GUARDED_BY(m_mutex);
    std::size_t m_bytesTaken SW_GUARDED_BY(m_mutex) = 0;  // of tables that were not given back
    std::atomic<std::size_t> m_memoryBytes = 0;           // changed under the mutex
};

}  // namespace siftwell::fulltext
