// PageRemoval: takes pages out of the index, one call after the other, and writes that down once
// for all calls that came meanwhile.
//
// Both wait: for whoever has the index to himself, for the disk, and, before an index is written,
// for the end of a search, which holds the priority. So it is done by a thread of its own, and a
// search goes on.
//
// Threads: main; the work is done on its own.
// Errors: reported through the notifier of the index store.
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "base/RunLoop.h"
#include "base/WorkSignal.h"
#include "index/IndexController.h"

namespace siftwell {

class PageRemoval {
public:
    // How many of the pages were in an index. They are found no more; what says so is written then.
    using Done = std::function<void(std::size_t count)>;

    // Both outlive the object.
    PageRemoval(IndexController& indexes, RunLoop& mainLoop);
    ~PageRemoval();

    // Each page goes from every index. Returns at once.
    void remove(std::vector<std::string> urls, Done done);

    // For the end of the program: removes what is still to be removed and leaves the writing to the
    // caller; nothing is called back. False when that takes longer: the thread is then left as it
    // is, and the process must end without destroying what it uses.
    bool stop(std::chrono::milliseconds longest);

private:
    struct Request {
        std::vector<std::string> urls;
        Done done;
    };

    void serve();
    std::optional<Request> next();
    void work(const Request& request);
    bool endIfWanted();
    bool isEnded() const;

    IndexController& m_indexes;
    RunLoop& m_mainLoop;
    // Lets what was posted find out that the object is gone.
    const std::shared_ptr<int> m_life = std::make_shared<int>();
    WorkSignal m_signal;
    mutable Mutex m_mutex;
    std::deque<Request> m_requests SW_GUARDED_BY(m_mutex);
    bool m_isEnding SW_GUARDED_BY(m_mutex) = false;
    bool m_isEnded SW_GUARDED_BY(m_mutex) = false;
    std::jthread m_thread;
};

}  // namespace siftwell
