#include "ui/search/Snippets.h"

#include <algorithm>
#include <utility>

#include "base/ThreadPriority.h"

namespace siftwell {

Snippets::Snippets(QObject* parent) : QObject(parent) {}

Snippets::~Snippets() {
    m_thread.request_stop();
    MutexLock lock(m_mutex);
    m_work.notifyAll();
}

void Snippets::begin(const std::string& query, const std::set<std::string>& stopWords) {
    m_maker = std::make_shared<const SnippetMaker>(query, stopWords);
    ++m_generation;
    m_kept.clear();
    m_wished.clear();
    MutexLock lock(m_mutex);
    m_wishes.clear();
}

// A little more room makes no other snippet.
const Snippet* Snippets::find(const FoundRow& row, std::size_t columns) {
    constexpr std::size_t kStep = 10;
    const auto index = row.index.lock();
    const Key key{index.get(), row.document, std::max(kStep, columns / kStep * kStep)};
    if (const auto kept = m_kept.find(key); kept != m_kept.end()) return &kept->second;
    if (index == nullptr || m_maker == nullptr || !m_wished.insert(key).second) return nullptr;
    {
        MutexLock lock(m_mutex);
        m_wishes.push_front({m_generation, key, row, m_maker});
        if (m_wishes.size() > kMostWishes) {
            m_wished.erase(m_wishes.back().key);
            m_wishes.pop_back();
        }
        m_work.notifyAll();
    }
    if (!m_thread.joinable()) {
        m_thread = std::jthread([this](const std::stop_token& stop) { serve(stop); });
    }
    return nullptr;
}

void Snippets::serve(const std::stop_token& stop) {
    nameThisThread("snippets");
    for (Wish wish; take(wish, stop);) {
        auto snippet =
            wish.maker->snippetFor(wish.row, std::get<std::size_t>(wish.key)).value_or(Snippet());
        QMetaObject::invokeMethod(
            this,
            [this, wish, made = std::move(snippet)]() mutable { keep(wish, std::move(made)); },
            Qt::QueuedConnection);
    }
}

bool Snippets::take(Wish& wish, const std::stop_token& stop) {
    MutexLock lock(m_mutex);
    while (m_wishes.empty() && !stop.stop_requested()) m_work.wait(m_mutex);
    if (stop.stop_requested()) return false;
    wish = std::move(m_wishes.front());
    m_wishes.pop_front();
    return true;
}

void Snippets::keep(const Wish& wish, Snippet snippet) {
    if (wish.generation != m_generation) return;
    if (m_kept.size() >= kMostKept) {
        m_kept.clear();
        m_wished.clear();
    }
    m_kept.insert_or_assign(wish.key, std::move(snippet));
    Q_EMIT changed();
}

}  // namespace siftwell
