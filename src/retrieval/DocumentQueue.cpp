#include "retrieval/DocumentQueue.h"

#include <utility>

namespace siftwell {

void DocumentQueue::push(QueuedDocument document) {
    MutexLock lock(m_mutex);
    ++m_counts[document.source];
    m_documents.push_back(std::move(document));
}

std::optional<QueuedDocument> DocumentQueue::pop() {
    MutexLock lock(m_mutex);
    if (m_documents.empty()) return std::nullopt;
    QueuedDocument document = std::move(m_documents.front());
    m_documents.pop_front();
    m_held = {.source = document.source};
    return document;
}

void DocumentQueue::countOut(const std::string& source) {
    const auto count = m_counts.find(source);
    if (--count->second == 0) m_counts.erase(count);
}

void DocumentQueue::release() {
    MutexLock lock(m_mutex);
    if (!m_held) return;
    countOut(m_held->source);
    m_held.reset();
}

bool DocumentQueue::isRecalled() const {
    MutexLock lock(m_mutex);
    return m_held && m_held->isRecalled;
}

bool DocumentQueue::park(QueuedDocument document, const HostChecks::Question& until) {
    MutexLock lock(m_mutex);
    if (m_held && m_held->isRecalled) return false;
    m_held.reset();
    m_parked[until].push_back(std::move(document));
    return true;
}

void DocumentQueue::unpark(const std::shared_ptr<const HostChecks::Answer>& answer) {
    MutexLock lock(m_mutex);
    const auto parked = m_parked.find(answer->question);
    if (parked == m_parked.end()) return;
    auto& documents = parked->second;
    for (auto document = documents.rbegin(); document != documents.rend(); ++document) {
        document->host = answer;
        m_documents.push_front(std::move(*document));
    }
    m_parked.erase(parked);
}

std::size_t DocumentQueue::count(const std::string& source) const {
    MutexLock lock(m_mutex);
    const auto count = m_counts.find(source);
    return count == m_counts.end() ? 0 : count->second;
}

bool DocumentQueue::hasAny(const std::optional<std::string>& source) const {
    MutexLock lock(m_mutex);
    return source ? m_counts.contains(*source) : !m_counts.empty();
}

std::size_t DocumentQueue::remove(const std::optional<std::string>& source) {
    MutexLock lock(m_mutex);
    std::size_t removed = 0;
    const auto isMeant = [&](const QueuedDocument& document) SW_REQUIRES(m_mutex) {
        if (source && document.source != *source) return false;
        countOut(document.source);
        ++removed;
        return true;
    };
    std::erase_if(m_documents, isMeant);
    for (auto& [question, documents] : m_parked) std::erase_if(documents, isMeant);
    if (m_held && (!source || m_held->source == *source)) m_held->isRecalled = true;
    return removed;
}

}  // namespace siftwell
