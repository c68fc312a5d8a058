// FileAdding puts files and whole folders into the index: one thread walks, others read and add.
//
// Threads: made, started and ended on the main thread; progress() any. Files that are indexed
// already with their date are passed over. Errors: a file or folder that cannot be read is reported
// with severity 5, and the work goes on.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "index/IndexController.h"
#include "sources/ReadableFileTest.h"

namespace siftwell {

class FileAdding {
public:
    // A file or folder with the source that its documents are filed under.
    struct Target {
        std::string path;
        std::string source;
        std::string indexer;
    };

    struct Progress {
        std::uint64_t found = 0;
        std::uint64_t done = 0;
        std::uint64_t unchanged = 0;  // of these, indexed before with the same date
        std::uint64_t bytes = 0;      // of text that was read
        bool isWalkDone = false;      // `found` is final
        bool isDone = false;
    };

    FileAdding(IndexController& indexes, SWNotifier& notifier, const Settings& settings);
    ~FileAdding();

    void start(std::vector<Target> targets, unsigned threads);
    // Leaves off after the files that are being added.
    void stop();
    Progress progress();

private:
    struct Job {
        std::string path;
        const Target* target;
    };

    void walk(const std::stop_token& stop);
    void walkFolder(const Target& target, const std::stop_token& stop);
    bool put(Job job, const std::stop_token& stop);
    bool take(Job& job);
    void work();
    void add(const Job& job);
    bool isUnchanged(const Job& job);
    void reportUnreadable(const std::string& address, const Status& status);

    static constexpr std::size_t kMaxWaiting = 256;

    IndexController& m_indexes;
    SWNotifier& m_notifier;
    const ReadableFileTest m_isReadable;
    std::vector<Target> m_targets;

    std::atomic<std::uint64_t> m_found = 0;
    std::atomic<std::uint64_t> m_done = 0;
    std::atomic<std::uint64_t> m_unchanged = 0;
    std::atomic<std::uint64_t> m_bytes = 0;
    std::atomic<unsigned> m_running = 0;

    Mutex m_mutex;
    Condition m_changed;
    std::deque<Job> m_waiting SW_GUARDED_BY(m_mutex);
    bool m_isWalkDone SW_GUARDED_BY(m_mutex) = false;

    std::vector<std::jthread> m_threads;
};

}  // namespace siftwell
