#include "app/PageRemoval.h"

#include <exception>
#include <functional>
#include <utility>

#include "base/Log.h"
#include "base/ThreadPriority.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kLongestSleep(60'000);

// A page may stand in several indexes, from each of which it is to go.
bool removeEverywhere(IndexController& indexes, const Url& url) {
    bool isRemoved = false;
    for (std::size_t i = indexes.indexes()->size(); i > 0; --i) {
        if (indexes.removeURLFromIndex({url}) == 0) break;
        isRemoved = true;
    }
    return isRemoved;
}

void guarded(const std::function<void()>& task) {
    try {
        task();
    } catch (const std::exception& exception) {
        writeLog(std::string("Pages could not be removed: ") + exception.what());
    }
}

}  // namespace

PageRemoval::PageRemoval(IndexController& indexes, RunLoop& mainLoop)
    : m_indexes(indexes), m_mainLoop(mainLoop), m_thread([this] {
          nameThisThread("removal");
          serve();
      }) {}

PageRemoval::~PageRemoval() {
    {
        MutexLock lock(m_mutex);
        m_isEnding = true;
    }
    m_signal.raise();
}

void PageRemoval::remove(std::vector<std::string> urls, Done done) {
    {
        MutexLock lock(m_mutex);
        m_requests.push_back({.urls = std::move(urls), .done = std::move(done)});
    }
    m_signal.raise();
}

bool PageRemoval::stop(std::chrono::milliseconds longest) {
    {
        MutexLock lock(m_mutex);
        m_isEnding = true;
    }
    m_signal.raise();
    const bool isOver = m_mainLoop.turnUntil([this] { return isEnded(); }, longest);
    if (!isOver && m_thread.joinable()) m_thread.detach();
    return isOver;
}

bool PageRemoval::isEnded() const {
    MutexLock lock(m_mutex);
    return m_isEnded;
}

// ---- On its thread

void PageRemoval::serve() {
    bool isWritten = true;
    for (;;) {
        if (const auto request = next()) {
            work(*request);
            isWritten = false;
        } else if (endIfWanted()) {
            break;
        } else if (!isWritten) {
            guarded([this] { m_indexes.flush(); });
            isWritten = true;
        } else {
            m_signal.wait(kLongestSleep);
        }
    }
    m_mainLoop.post([] {});  // whoever waits for the end is to look
}

std::optional<PageRemoval::Request> PageRemoval::next() {
    MutexLock lock(m_mutex);
    if (m_requests.empty()) return std::nullopt;
    Request request = std::move(m_requests.front());
    m_requests.pop_front();
    return request;
}

bool PageRemoval::endIfWanted() {
    MutexLock lock(m_mutex);
    m_isEnded = m_isEnding && m_requests.empty();
    return m_isEnded;
}

void PageRemoval::work(const Request& request) {
    std::size_t count = 0;
    guarded([&] {
        for (const std::string& text : request.urls) {
            const auto url = Url::parse(text);
            if (url && removeEverywhere(m_indexes, *url)) ++count;
        }
    });
    m_mainLoop.post([life = std::weak_ptr(m_life), done = request.done, count] {
        if (!life.expired() && done) done(count);
    });
}

}  // namespace siftwell
