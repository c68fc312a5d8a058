#include "index/Expiry.h"

#include <algorithm>

#include "index/IndexNaming.h"
#include "index/RemovalWalk.h"

namespace siftwell {

namespace {

constexpr std::size_t kRecordsPerLook = 100;
constexpr std::int64_t kDeletionsWorthForgetting = 101;

// The sources as the names of indexes tell them.
std::set<std::string> asNamed(const std::set<std::string>& sources) {
    std::set<std::string> names;
    for (const std::string& source : sources) {
        names.insert(sourceOfIndexName(indexNameForSource(source, "x")));
    }
    return names;
}

// A side file that cannot be read has no records to show either, and says nothing of the index.
bool isWithoutRecords(const OpenIndex& index) {
    return index.properties->recordsBehind(0, kRecordsPerLook).empty() &&
           index.properties->check().isOk();
}

}  // namespace

void Expiry::expireOlderThan(Date cutOff,
                             const std::optional<std::vector<std::string>>& forSources) {
    const std::int64_t deletedBefore = m_parts.counters.deleted.value();
    {
        const ScanLock::Turn turn(m_parts.locks.scanLock());
        bool isComplete = true;
        if (forSources) {
            expireOlderThan(cutOff, Sources(forSources->begin(), forSources->end()));
            isComplete = purgeIndexesWithoutRecords();
        } else {
            purgeAll();
        }
        if (isComplete && deletedBefore >= kDeletionsWorthForgetting) {
            m_parts.counters.deleted.set(0);
        }
        m_parts.flush();
    }
    if (forSources) return;
    m_parts.forgetIndexedSources();
    m_parts.loader.run();
}

bool Expiry::continueExpiring() {
    m_parts.locks.yieldForPriorityThread();
    return m_parts.gate.isEnabled();
}

void Expiry::expireOlderThan(Date cutOff, const Sources& sources) {
    const bool isEveryIndexVisited = m_parts.isMonthlyFormat();
    const Sources names = asNamed(sources);
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        if (!continueExpiring()) return;
        if (!isEveryIndexVisited && !names.contains(sourceOfIndexName(index->name))) continue;
        // Indexes may be let go of before the hold, not while it lasts.
        const SharedHold hold(m_parts.locks.indexGate());
        if (m_parts.indexes.positionOf(index) < 0) return;
        expireDocumentsInIndex(index, cutOff, sources);
        m_parts.flushIndex(index);
    }
}

void Expiry::expireDocumentsInIndex(const SKIndex& index, Date sinceDate,
                                    const Sources& fromSources) {
    const auto isKept = [&](fulltext::DocumentID document, const PropertyRecord& record) {
        if (!fromSources.contains(record.source) || !(record.date < sinceDate)) return true;
        m_parts.notifier.reportStatus("Removing");
        m_parts.store.removeNumber(document, index, record.url, true);
        return false;
    };
    walkRemoving(*index, {.mayContinue = [this] { return continueExpiring(); },
                          .isKept = isKept,
                          .flush = [&] { m_parts.flushIndex(index); }});
}

// Whether all were visited. Whoever has the priority goes first, but not once the exclusive hold
// lasts: that thread might ask for the index lock itself.
bool Expiry::purgeIndexesWithoutRecords() {
    m_parts.locks.yieldForPriorityThread();
    // Lets go of purged indexes behind the hold: each waits for the merge that is under way.
    std::shared_ptr<const IndexSet::List> indexes;
    const ExclusiveHold hold(m_parts.locks.indexGate());
    indexes = m_parts.indexes.list();
    return std::all_of(indexes->begin(), indexes->end(), [this](const SKIndex& index) {
        if (!m_parts.gate.isEnabled()) return false;
        if (isWithoutRecords(*index)) m_parts.indexes.purge(index);
        return true;
    });
}

void Expiry::purgeAll() {
    std::shared_ptr<const IndexSet::List> indexes;  // as above
    const ExclusiveHold hold(m_parts.locks.indexGate());
    indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) m_parts.indexes.purge(index);
}

}  // namespace siftwell
