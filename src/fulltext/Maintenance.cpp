#include "fulltext/Maintenance.h"

#include <algorithm>

#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "fulltext/Compaction.h"
#include "fulltext/Flushing.h"
#include "fulltext/IndexCore.h"
#include "fulltext/Merging.h"

namespace siftwell::fulltext {

namespace {

constexpr auto kSyncDelay = std::chrono::milliseconds(700);

void logFailure(const Status& status) {
    if (!status.isOk() && status.code() != StatusCode::Busy) writeLog(status.message());
}

}  // namespace

Maintenance::Maintenance() : m_thread([this](const std::stop_token& stop) { run(stop); }) {}

Maintenance::~Maintenance() {
    m_thread.request_stop();
    MutexLock lock(m_mutex);
    m_jobs.clear();
    m_changed.notifyAll();
}

void Maintenance::indexWasFlushed(const std::shared_ptr<IndexCore>& index) {
    MutexLock lock(m_mutex);
    Job& job = m_jobs[index.get()];
    job.index = index;
    job.syncAt = std::min(job.syncAt, std::chrono::steady_clock::now() + kSyncDelay);
    job.mustMerge = true;
    m_changed.notifyAll();
}

void Maintenance::forget(const IndexCore& index) {
    MutexLock lock(m_mutex);
    m_jobs.erase(&index);
    while (m_current == &index) m_changed.wait(m_mutex);
}

void Maintenance::run(const std::stop_token& stop) {
    nameThisThread("merge");
    useLowestThreadPriority();
    for (Job job; const auto index = waitForJob(stop, job);) {
        work(*index, job);
        MutexLock lock(m_mutex);
        m_current = nullptr;
        m_changed.notifyAll();
    }
}

// Takes the next step of some index that is due, merges before syncs that can wait. Null at the
// end.
std::shared_ptr<IndexCore> Maintenance::waitForJob(const std::stop_token& stop, Job& taken) {
    MutexLock lock(m_mutex);
    while (!stop.stop_requested()) {
        Time next = Time::max();
        const Time now = std::chrono::steady_clock::now();
        for (auto entry = m_jobs.begin(); entry != m_jobs.end();) {
            Job& job = entry->second;
            auto index = job.index.lock();
            const bool isDone = !job.mustMerge && job.syncAt == Time::max();
            if (index == nullptr || isDone) {
                entry = m_jobs.erase(entry);
                continue;
            }
            if (job.syncAt <= now || job.mustMerge) {
                taken = {job.index, job.syncAt <= now ? Time::min() : Time::max(), false};
                if (job.syncAt <= now) {
                    job.syncAt = Time::max();
                } else {
                    taken.mustMerge = true;
                    job.mustMerge = false;
                }
                m_current = index.get();
                return index;
            }
            next = std::min(next, job.syncAt);
            ++entry;
        }
        if (next == Time::max()) {
            m_changed.wait(m_mutex);
        } else {
            m_changed.waitUntil(m_mutex, next);
        }
    }
    return nullptr;
}

void Maintenance::work(IndexCore& index, const Job& job) {
    if (!job.mustMerge) return logFailure(sync(index));
    logFailure(mergeSegmentsOf(index));
    if (isWasteful(index)) logFailure(compact(index));
}

}  // namespace siftwell::fulltext
