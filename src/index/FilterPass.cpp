#include "index/FilterPass.h"

#include <utility>

#include "base/ThreadPriority.h"
#include "index/RemovalWalk.h"

namespace siftwell {

std::uint64_t FilterPass::request() {
    const GateHold hold(m_starting);
    std::uint64_t request = 0;
    {
        MutexLock lock(m_mutex);
        request = ++m_requested;
        if (std::exchange(m_isServing, true)) return request;
    }
    m_thread = std::jthread([this](const std::stop_token& stop) {
        nameThisThread("filter");
        serve(stop);
    });
    return request;
}

std::size_t FilterPass::waitFor(std::uint64_t request) {
    MutexLock lock(m_mutex);
    while (m_served < request) m_changed.wait(m_mutex);
    return m_removed;
}

bool FilterPass::stop() {
    const GateHold hold(m_starting);
    bool isServing = false;
    {
        MutexLock lock(m_mutex);
        isServing = m_isServing;
    }
    m_thread.request_stop();
    if (m_thread.joinable()) m_thread.join();
    return isServing;
}

void FilterPass::serve(const std::stop_token& stop) {
    for (;;) {
        std::uint64_t request = 0;
        {
            MutexLock lock(m_mutex);
            if (stop.stop_requested()) m_served = m_requested;
            m_changed.notifyAll();
            m_isServing = m_served < m_requested;
            if (!m_isServing) return;
            request = m_requested;
        }
        const std::size_t removed = run(stop);
        MutexLock lock(m_mutex);
        m_served = request;
        m_removed = removed;
    }
}

std::size_t FilterPass::run(const std::stop_token& stop) {
    std::size_t count = 0;
    m_parts.admission.applyURLFilters();
    m_parts.gate.disable();
    {
        const ScanLock::Turn turn(m_parts.locks.scanLock(), stop);
        m_parts.counters.pending.set(0);
        m_parts.notifier.reportStatus("Filtering");
        m_parts.notifier.reportProgressIn("Filters", "Filtering...");
        PropertyList::Array removed = turn.isTaken() ? filterAll(stop) : PropertyList::Array();
        count = removed.size();
        m_parts.notifier.reportProgressIn("Filters", "Updating index status window...");
        if (count > 0) {
            m_parts.centre.postMainThreadNotificationName("SiftwellStatusRemoveURLNotification",
                                                          std::move(removed));
            m_parts.flush();
        }
        m_parts.notifier.reportProgressDoneIn("Filters", "");
        m_parts.counters.pending.set(0);
        m_parts.gate.enable();
    }
    m_parts.notifier.reportStatus("");
    m_parts.centre.postMainThreadNotificationName("SiftwellIndexRequestSearchRefreshNotification",
                                                  {});
    return count;
}

// The addresses of what was removed. Without any filter nothing is looked at; filters that are all
// switched off cost a walk.
PropertyList::Array FilterPass::filterAll(const std::stop_token& stop) {
    PropertyList::Array removed;
    const auto filters = m_parts.admission.enabledFilters();
    if (!filters) return removed;
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        if (stop.stop_requested()) break;
        const SharedHold hold(m_parts.locks.indexGate());
        // Indexes may be let go of before the hold, not while it lasts.
        if (m_parts.indexes.positionOf(index) < 0) continue;
        m_parts.notifier.reportStatus("Filtering");
        filterDocumentsInSKIndex(index, *filters, removed, stop);
    }
    return removed;
}

void FilterPass::filterDocumentsInSKIndex(const SKIndex& index,
                                          const std::vector<std::string>& filters,
                                          PropertyList::Array& removed,
                                          const std::stop_token& stop) {
    const auto mayContinue = [&] {
        m_parts.locks.yieldForPriorityThread();
        return !stop.stop_requested();
    };
    const auto isKept = [&](fulltext::DocumentID document, const PropertyRecord& record) {
        m_parts.notifier.reportStatus("Filtering");
        if (!isFilteredBy(filters, record.url)) {
            m_parts.counters.pending.add(1);  // shown as how far the pass is
            return true;
        }
        if (m_parts.store.removeNumber(document, index, record.url, false)) {
            removed.emplace_back(record.url);
        }
        return false;
    };
    walkRemoving(*index, {.mayContinue = mayContinue, .isKept = isKept, .flush = [&] {
                              m_parts.flushIndex(index);
                          }});
}

}  // namespace siftwell
