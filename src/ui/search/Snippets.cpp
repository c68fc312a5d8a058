#include "ui/search/Snippets.h"

#include <algorithm>
#include <utility>

namespace siftwell {

Snippets::Snippets(RunLoop& mainLoop, QObject* parent)
    : QObject(parent), m_thread(mainLoop, "snippets") {}

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
    }
    m_thread.run([this](const std::stop_token&) { return fulfilNewest(); });
    return nullptr;
}

TaskThread::Done Snippets::fulfilNewest() {
    const std::optional<Wish> wish = takeNewest();
    if (!wish) return {};  // it was dropped
    const auto columns = std::get<std::size_t>(wish->key);
    return [this, wish = *wish,
            snippet = wish->maker->snippetFor(wish->row, columns).value_or(Snippet())] {
        keep(wish, snippet);
    };
}

std::optional<Snippets::Wish> Snippets::takeNewest() {
    MutexLock lock(m_mutex);
    if (m_wishes.empty()) return std::nullopt;
    Wish wish = std::move(m_wishes.front());
    m_wishes.pop_front();
    return wish;
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
