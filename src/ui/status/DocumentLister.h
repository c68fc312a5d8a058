// DocumentLister: keeps the list of a query true, on a thread of its own.
//
// A new query supersedes the one before at once. While a search has the priority, it is given room.
//
// Threads: main.
#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "base/Mutex.h"
#include "index/IndexController.h"
#include "ui/background/TaskThread.h"
#include "ui/status/DocumentWalk.h"

namespace siftwell {

class DocumentLister {
public:
    using Taker = std::function<void(DocumentListPointer)>;

    // `indexes` and `mainLoop` outlive the object. `take` is called on the main thread, several
    // times for each query: with the first rows at once, and in the end with a complete list.
    DocumentLister(IndexController& indexes, RunLoop& mainLoop, Taker take);
    ~DocumentLister();

    void setQuery(DocumentQuery query);
    // Something came or went in the indexes.
    void lookAgain();

private:
    void startLook();
    TaskThread::Done look(DocumentWalk& walk, const std::stop_token& stop);
    bool readAll(DocumentWalk& walk, const std::stop_token& stop);
    void handOver(DocumentWalk& walk, const std::stop_token& stop);
    void letSearchesPass(const std::stop_token& stop) const;

    IndexController& m_indexes;
    const Taker m_take;
    std::shared_ptr<DocumentWalk> m_walk;  // its members belong to the thread
    std::stop_source m_stop;               // of the query
    bool m_isLooking = false;
    bool m_isLookWanted = false;
    Mutex m_mutex;
    DocumentListPointer m_newest SW_GUARDED_BY(m_mutex);  // null once it was taken
    TaskThread m_thread;
};

}  // namespace siftwell
