#include "fulltext/TermTables.h"

#include <algorithm>
#include <bit>

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kFewestSlots = 1 << 12;
constexpr std::size_t kMostSlots = 1 << 16;  // unless one text needs more

}  // namespace

TermTables::TermTables(const TermFilter& filter) : m_filter(filter), m_nextSlots(kFewestSlots) {}

std::shared_ptr<TermTable> TermTables::make(std::size_t slots) {
    auto table = std::make_shared<TermTable>(slots);
    m_memoryBytes += table->memoryBytes();
    m_bytesTaken += table->memoryBytes();
    return table;
}

std::shared_ptr<TermTable> TermTables::take() {
    MutexLock lock(m_mutex);
    if (m_free.empty()) return make(m_nextSlots);
    auto table = std::move(m_free.back());
    m_free.pop_back();
    m_bytesTaken += table->memoryBytes();
    return table;
}

std::shared_ptr<TermTable> TermTables::takeInsteadOf(std::shared_ptr<TermTable> full,
                                                     bool isOfOneText) {
    MutexLock lock(m_mutex);
    const std::size_t slots = full->slots() * 2;
    m_bytesTaken -= full->memoryBytes();
    m_nextSlots = std::clamp(slots, m_nextSlots, kMostSlots);
    if (!isOfOneText) return make(m_nextSlots);
    m_memoryBytes -= full->memoryBytes();
    full.reset();  // no text refers to it
    return make(slots);
}

void TermTables::giveBack(std::shared_ptr<TermTable> table) {
    MutexLock lock(m_mutex);
    m_bytesTaken -= table->memoryBytes();
    if (table->slots() <= kMostSlots) m_free.push_back(std::move(table));
}

// The next tables begin with the size that the last one would have needed.
void TermTables::startAnew() {
    MutexLock lock(m_mutex);
    std::size_t words = 0;
    for (const auto& table : m_free) words = std::max(words, table->wordCount());
    m_nextSlots = std::clamp(std::bit_ceil(words * 2), kFewestSlots, kMostSlots);
    m_free.clear();
    m_memoryBytes = m_bytesTaken;
}

}  // namespace siftwell::fulltext
