// Snippets: what the pages say around the words that were looked for, for the rows in sight.
//
// They are read from the indexes by a thread of their own: the last that was asked for comes first,
// and what was asked for too long ago is dropped, to be asked for again when it is in sight again.
//
// Threads: main; the thread is the class's own. Errors: a page that is gone says nothing.
#pragma once

#include <QObject>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "base/Mutex.h"
#include "search/Snippet.h"
#include "ui/background/TaskThread.h"

namespace siftwell {

class Snippets : public QObject {
    Q_OBJECT

public:
    // The loop outlives the object.
    explicit Snippets(RunLoop& mainLoop, QObject* parent = nullptr);

    // For the rows of a new search; the old ones are forgotten. `query` in the engine's language.
    void begin(const std::string& query, const std::set<std::string>& stopWords);
    // The row's, about as wide as that, or null until `changed` is told.
    const Snippet* find(const FoundRow& row, std::size_t columns);

Q_SIGNALS:
    void changed();

private:
    using Key = std::tuple<const OpenIndex*, fulltext::DocumentID, std::size_t>;  // of columns
    struct Wish {
        std::uint64_t generation;
        Key key;
        FoundRow row;
        std::shared_ptr<const SnippetMaker> maker;
    };
    static constexpr std::size_t kMostWishes = 64;
    static constexpr std::size_t kMostKept = 1000;

    TaskThread::Done fulfilNewest();
    std::optional<Wish> takeNewest();
    void keep(const Wish& wish, Snippet snippet);

    std::shared_ptr<const SnippetMaker> m_maker;
    std::uint64_t m_generation = 0;
    std::map<Key, Snippet> m_kept;
    std::set<Key> m_wished;

    Mutex m_mutex;
    std::deque<Wish> m_wishes SW_GUARDED_BY(m_mutex);
    TaskThread m_thread;
};

}  // namespace siftwell
