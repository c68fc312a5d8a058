// WriteBudget: the memory that documents of all indexes of a process may take before they stand in
// a segment.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/Mutex.h"

namespace siftwell::fulltext {

struct IndexCore;

class WriteBudget {
public:
    explicit WriteBudget(std::size_t maxBytes = std::size_t{32} << 20) : m_maxBytes(maxBytes) {}

    void enter(const std::shared_ptr<IndexCore>& index);

    // Whether all together hold too much.
    bool isExceeded();

    // The index to spill when all together hold too much: that with the most documents which no
    // commit lists yet. Null when that is not worth it.
    std::shared_ptr<IndexCore> indexToRelieve();

private:
    std::size_t bufferedBytes() SW_REQUIRES(m_mutex);

    const std::size_t m_maxBytes;
    Mutex m_mutex;
    std::vector<std::weak_ptr<IndexCore>> m_indexes SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell::fulltext
