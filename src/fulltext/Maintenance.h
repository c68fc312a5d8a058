// Maintenance: the thread that merges, compacts and syncs the indexes of a process.
//
// Threads: any may call. What is handed over is done in the background, one index after another.
// Errors: kept by the index concerned, which answers them to its next writer.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <thread>

#include "base/Mutex.h"

namespace siftwell::fulltext {

struct IndexCore;

class Maintenance {
public:
    Maintenance();
    ~Maintenance();  // what is under way gives up at its next step

    // An index was flushed: it is synced within a second, its segments are merged, and its file is
    // compacted when more than half of it is dead.
    void indexWasFlushed(const std::shared_ptr<IndexCore>& index);

    // Returns when the thread has done with the index and will not touch it again.
    void forget(const IndexCore& index);

private:
    using Time = std::chrono::steady_clock::time_point;

    struct Job {
        std::weak_ptr<IndexCore> index;
        Time syncAt = Time::max();  // max: done
        bool mustMerge = false;
    };

    void run(const std::stop_token& stop);
    std::shared_ptr<IndexCore> waitForJob(const std::stop_token& stop, Job& job);
    void work(IndexCore& index, const Job& job);

    Mutex m_mutex;
    Condition m_changed;
    std::map<const IndexCore*, Job> m_jobs SW_GUARDED_BY(m_mutex);
    const IndexCore* m_current SW_GUARDED_BY(m_mutex) = nullptr;
    std::jthread m_thread;
};

}  // namespace siftwell::fulltext
