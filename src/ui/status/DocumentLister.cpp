#include "ui/status/DocumentLister.h"

#include <thread>
#include <utility>

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kPause(5);
constexpr int kMostPauses = 4;  // for each piece that is read

}  // namespace

DocumentLister::DocumentLister(IndexController& indexes, RunLoop& mainLoop, Taker take)
    : m_indexes(indexes), m_take(std::move(take)), m_thread(mainLoop, "documents") {}

DocumentLister::~DocumentLister() { m_stop.request_stop(); }

void DocumentLister::setQuery(DocumentQuery query) {
    m_stop.request_stop();
    m_stop = {};
    m_walk = std::make_shared<DocumentWalk>(std::move(query), m_stop.get_token());
    startLook();
}

void DocumentLister::lookAgain() {
    if (m_walk == nullptr) return;
    if (m_isLooking) {
        m_isLookWanted = true;
    } else {
        startLook();
    }
}

void DocumentLister::startLook() {
    m_isLooking = true;
    m_isLookWanted = false;
    m_thread.run([this, walk = m_walk, stop = m_stop.get_token()](const std::stop_token&) {
        return look(*walk, stop);
    });
}

TaskThread::Done DocumentLister::look(DocumentWalk& walk, const std::stop_token& stop) {
    if (!readAll(walk, stop)) return {};
    handOver(walk, stop);
    return [this, stop] {
        if (stop.stop_requested()) return;
        m_isLooking = false;
        if (m_isLookWanted) startLook();
    };
}

// False when the query was superseded.
bool DocumentLister::readAll(DocumentWalk& walk, const std::stop_token& stop) {
    if (stop.stop_requested()) return false;
    const auto indexes = m_indexes.indexes();
    walk.look(*indexes);
    while (!stop.stop_requested() && walk.readPiece()) {
        if (walk.isListDue()) handOver(walk, stop);
        letSearchesPass(stop);
    }
    return !stop.stop_requested();
}

// What the main thread has not taken yet is replaced.
void DocumentLister::handOver(DocumentWalk& walk, const std::stop_token& stop) {
    DocumentListPointer list = walk.list();
    {
        MutexLock lock(m_mutex);
        m_newest.swap(list);
    }
    m_thread.post([this, stop] {
        if (stop.stop_requested()) return;  // the newest may be another query's by now
        DocumentListPointer newest;
        {
            MutexLock lock(m_mutex);
            newest.swap(m_newest);
        }
        if (newest != nullptr) m_take(newest);
    });
}

// Some time only: a search keeps the priority for seconds after its last row.
void DocumentLister::letSearchesPass(const std::stop_token& stop) const {
    for (int i = 0; i < kMostPauses && m_indexes.cancelForPriorityThread(); ++i) {
        if (stop.stop_requested()) return;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace siftwell
