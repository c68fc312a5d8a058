#include "ui/status/DocumentLister.h"

#include <thread>
#include <utility>

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kPause(5);

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
    return [show = handOver(walk, stop), stop, this] {
        if (stop.stop_requested()) return;
        show();
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
        if (walk.isListDue()) m_thread.post(handOver(walk, stop));
        letSearchesPass(stop);
    }
    return !stop.stop_requested();
}

TaskThread::Done DocumentLister::handOver(DocumentWalk& walk, const std::stop_token& stop) {
    return [this, list = walk.list(), stop] {
        if (!stop.stop_requested()) m_take(list);
    };
}

void DocumentLister::letSearchesPass(const std::stop_token& stop) const {
    while (m_indexes.cancelForPriorityThread() && !stop.stop_requested()) {
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace siftwell
