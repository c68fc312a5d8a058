// Extractions: files whose text another program has to give, one after the other on a thread of
// their own, so that nothing else waits for such programs.
//
// Threads: any.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "base/Mutex.h"
#include "retrieval/DocumentQueue.h"

namespace siftwell {

class Extractions {
public:
    // `extract` has one document after the other, on the thread; `ended` is called when it no
    // longer counts as under way.
    Extractions(std::function<void(const QueuedDocument&)> extract, std::function<void()> ended);
    // Waits for the one that is under way.
    ~Extractions();

    void push(QueuedDocument document);
    // Whether there are any of the source, or any at all, with the one under way.
    bool hasAny(const std::optional<std::string>& source) const;
    // Takes out those that are not under way; how many they were.
    std::size_t remove(const std::optional<std::string>& source);

private:
    void run(const std::stop_token& stop);
    bool waitForNext(QueuedDocument& document, const std::stop_token& stop);

    const std::function<void(const QueuedDocument&)> m_extract;
    const std::function<void()> m_ended;
    mutable Mutex m_mutex;
    Condition m_changed;
    std::deque<QueuedDocument> m_documents SW_GUARDED_BY(m_mutex);
    std::optional<std::string> m_current SW_GUARDED_BY(m_mutex);  // source of the one under way
    std::jthread m_thread;
};

}  // namespace siftwell
