#include "fulltext/WriteBudget.h"

#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

void WriteBudget::enter(const std::shared_ptr<IndexCore>& index) {
    MutexLock lock(m_mutex);
    std::erase_if(m_indexes, [](const auto& candidate) { return candidate.expired(); });
    m_indexes.push_back(index);
}

namespace {

// Smaller segments are no relief.
constexpr std::size_t kWorthSpilling = 512 << 10;

}  // namespace

std::size_t WriteBudget::bufferedBytes() {
    std::size_t all = 0;
    for (const auto& candidate : m_indexes) {
        if (const auto index = candidate.lock()) all += index->bufferedBytes();
    }
    return all;
}

bool WriteBudget::isExceeded() {
    MutexLock lock(m_mutex);
    return bufferedBytes() > m_maxBytes;
}

std::shared_ptr<IndexCore> WriteBudget::indexToRelieve() {
    std::size_t most = 0;
    std::shared_ptr<IndexCore> largest;
    MutexLock lock(m_mutex);
    if (bufferedBytes() <= m_maxBytes) return nullptr;
    for (const auto& candidate : m_indexes) {
        auto index = candidate.lock();
        if (index == nullptr) continue;
        const std::size_t pending = index->pendingBytes.load(std::memory_order_relaxed);
        if (pending > most) {
            most = pending;
            largest = std::move(index);
        }
    }
    return most > kWorthSpilling ? largest : nullptr;
}

}  // namespace siftwell::fulltext
