// PageAdding puts pages of the web into the index, with their frames and what they lead to.
//
// Threads: main. Errors: reported by the retriever. A page that nothing more is heard of for five
// minutes is given up.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "index/IndexController.h"
#include "retrieval/DocumentRetriever.h"

namespace siftwell {

class PageAdding {
public:
    // A page with the source that it is filed under.
    struct Target {
        Url url;
        std::string source;
    };

    PageAdding(IndexController& indexes, DocumentRetriever& retriever, const Clock& clock)
        : m_indexes(indexes), m_retriever(retriever), m_clock(clock) {}

    void start(const std::vector<Target>& targets);

    // Pages that came to their end, with frames and redirects.
    std::uint64_t done() const { return m_retriever.finishedDocuments(); }
    // To be asked again and again: gives up what takes too long.
    bool isDone();

private:
    IndexController& m_indexes;
    DocumentRetriever& m_retriever;
    const Clock& m_clock;
    std::uint64_t m_lastDone = 0;
    std::chrono::steady_clock::time_point m_lastChange;
};

}  // namespace siftwell
