#include "retrieval/Extractions.h"

#include <algorithm>
#include <utility>

#include "base/ThreadPriority.h"

namespace siftwell {

Extractions::Extractions(std::function<void(const QueuedDocument&)> extract,
                         std::function<void()> ended)
    : m_extract(std::move(extract)),
      m_ended(std::move(ended)),
      m_thread([this](const std::stop_token& stop) { run(stop); }) {}

Extractions::~Extractions() {
    m_thread.request_stop();
    {
        MutexLock lock(m_mutex);
        m_documents.clear();
        m_changed.notifyAll();
    }
    m_thread.join();
}

void Extractions::push(QueuedDocument document) {
    MutexLock lock(m_mutex);
    m_documents.push_back(std::move(document));
    m_changed.notifyAll();
}

bool Extractions::hasAny(const std::optional<std::string>& source) const {
    MutexLock lock(m_mutex);
    if (!source) return m_current || !m_documents.empty();
    return m_current == source ||
           std::any_of(m_documents.begin(), m_documents.end(),
                       [&](const QueuedDocument& each) { return each.source == *source; });
}

std::size_t Extractions::remove(const std::optional<std::string>& source) {
    MutexLock lock(m_mutex);
    return std::erase_if(m_documents, [&](const QueuedDocument& document) {
        return !source || document.source == *source;
    });
}

void Extractions::run(const std::stop_token& stop) {
    nameThisThread("extractor");
    for (QueuedDocument document{.url = Url::fromFilePath("/")}; waitForNext(document, stop);) {
        m_extract(document);
        {
            MutexLock lock(m_mutex);
            m_current.reset();
        }
        m_ended();
    }
}

bool Extractions::waitForNext(QueuedDocument& document, const std::stop_token& stop) {
    MutexLock lock(m_mutex);
    while (m_documents.empty() && !stop.stop_requested()) m_changed.wait(m_mutex);
    if (stop.stop_requested()) return false;
    document = std::move(m_documents.front());
    m_documents.pop_front();
    m_current = document.source;
    return true;
}

}  // namespace siftwell
