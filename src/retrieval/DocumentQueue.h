// DocumentQueue: the documents that are to be had, oldest first, and those of them that wait for
// word of their host.
//
// Threads: any puts documents in, asks and removes; one takes them out. A document that was taken
// out counts as waiting until it is released, so that it is never between two stools.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Mutex.h"
#include "base/Url.h"
#include "retrieval/HostChecks.h"

namespace siftwell {

struct QueuedDocument {
    Url url;
    std::optional<Date> date;
    std::optional<std::string> title;
    std::string source;
    std::string indexer;
    bool isFrameURL = false;
    int redirectCount = 0;
    // What was found out about the host; null before it was asked.
    std::shared_ptr<const HostChecks::Answer> host;
};

class DocumentQueue {
public:
    void push(QueuedDocument document);
    // At most one is held: it is to be parked or released before the next.
    std::optional<QueuedDocument> pop();
    void release();
    // Whether the held document was to be removed meanwhile.
    bool isRecalled() const;

    // The held document waits until the question about its host is answered; then it goes on before
    // all others. False, and it is still held, when it was recalled.
    bool park(QueuedDocument document, const HostChecks::Question& until);
    void unpark(const std::shared_ptr<const HostChecks::Answer>& answer);

    // Whether documents of the source wait, or any when there is none.
    bool hasAny(const std::optional<std::string>& source) const;
    std::size_t count(const std::string& source) const;
    // Takes out those of the source, or all when there is none; how many they were.
    std::size_t remove(const std::optional<std::string>& source);

private:
    struct Held {
        std::string source;
        bool isRecalled = false;
    };

    void countOut(const std::string& source) SW_REQUIRES(m_mutex);

    mutable Mutex m_mutex;
    std::deque<QueuedDocument> m_documents SW_GUARDED_BY(m_mutex);
    std::map<HostChecks::Question, std::vector<QueuedDocument>> m_parked SW_GUARDED_BY(m_mutex);
    std::optional<Held> m_held SW_GUARDED_BY(m_mutex);
    // Documents by their source, so that asking about one costs the same however many there are.
    std::map<std::string, std::size_t> m_counts SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
