// FileAdding puts files and whole folders into the index: one thread walks, others read and add.
//
// Threads: made, started and ended on the main thread; progress() any. Files that are indexed
// already with their date are passed over, and so are files of a folder whose type cannot be read.
// Errors: a file or folder that cannot be read is reported with severity 5, a file that was named
// and has a type that cannot be read with severity 6; the work goes on.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
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
        std::uint64_t filtered = 0;   // of these, not to be indexed by their addresses
        std::uint64_t bytes = 0;      // of text that was read
        bool isWalkDone = false;      // `found` is final
        bool isDone = false;
    };

    FileAdding(IndexController& indexes, SWNotifier& notifier, const Settings& settings);
    ~FileAdding();

    // `whenDone` is called once, by one of the threads.
    void start(std::vector<Target> targets, unsigned threads, std::function<void()> whenDone);
    // Leaves off after the files that are being added.
    void stop();
    Progress progress();

private:
    struct Job {
        std::string path;
        const Target* target;
    };

    void walk(const std::stop_token& stop);
    void putNamed(const Target& target, const std::stop_token& stop);
    void walkFolder(const Target& target, const std::stop_token& stop);
    bool put(Job job, const std::stop_token& stop);
    bool take(Job& job);
    void work();
    void add(const Job& job);
    bool isUnchanged(const Job& job, const Url& url);
    void reportUnreadable(const std::string& address, const Status& status);

    // So many that the size of the work is soon known, so few that their paths fit into memory.
    static constexpr std::size_t kMaxWaiting = 50'000;

    IndexController& m_indexes;
    SWNotifier& m_notifier;
    const ReadableFileTest m_isReadable;
    std::vector<Target> m_targets;
    std::function<void()> m_whenDone;

    std::atomic<std::uint64_t> m_found = 0;
    std::atomic<std::uint64_t> m_done = 0;
    std::atomic<std::uint64_t> m_unchanged = 0;
    std::atomic<std::uint64_t> m_filtered = 0;
    std::atomic<std::uint64_t> m_bytes = 0;
    std::atomic<unsigned> m_running = 0;

    Mutex m_mutex;
    Condition m_changed;
    std::deque<Job> m_waiting SW_GUARDED_BY(m_mutex);
    bool m_isWalkDone SW_GUARDED_BY(m_mutex) = false;

    std::vector<std::jthread> m_threads;
};

}  // namespace siftwell
