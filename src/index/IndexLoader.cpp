#include "index/IndexLoader.h"

#include "base/Log.h"
#include "base/ThreadPriority.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::size_t kSummariesPerNotification = 50;
constexpr std::size_t kDocumentsPerLook = 500;

}  // namespace

void IndexLoader::start() {
    stop();
    m_thread = std::jthread([this](const std::stop_token& stop) {
        nameThisThread("loader");
        useLowestThreadPriority();
        run(stop);
    });
}

void IndexLoader::stop() {
    m_thread.request_stop();
    if (m_thread.joinable()) m_thread.join();
}

void IndexLoader::run(const std::stop_token& stop) {
    m_parts.gate.disable();
    m_parts.counters.pending.set(0);
    {
        const ScanLock::Turn turn(m_parts.locks.scanLock());
        m_summaries.clear();
        m_sent = 0;
        m_parts.centre.postMainThreadNotificationName("SiftwellStatusRemoveURLNotification", {});
        m_parts.notifier.reportProgressIn("Loader", "Loading index files...");
        const bool isComplete = walkAll(stop);
        postSummaries();
        if (isComplete) m_parts.counters.documents.set(m_sent);
        m_parts.gate.enable();
    }
    m_parts.notifier.reportProgressDoneIn("Loader", "");
    m_parts.notifier.reportStatus("");
}

// False when it was broken off: then the number of documents is not known.
bool IndexLoader::walkAll(const std::stop_token& stop) {
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        if (!mayContinue(stop)) return false;
        const SharedHold hold(m_parts.locks.indexGate());
        if (!walk(index, stop)) return false;
    }
    return true;
}

bool IndexLoader::mayContinue(const std::stop_token& stop) const {
    return !stop.stop_requested() && m_parts.locks.continueEnumerating();
}

bool IndexLoader::walk(const SKIndex& index, const std::stop_token& stop) {
    for (fulltext::DocumentID last = 0;;) {
        const auto documents = index->documentsBehind(last, kDocumentsPerLook);
        if (documents.empty()) return true;
        for (const StoredDocument& document : documents) {
            if (!mayContinue(stop)) return false;
            addSummary(index, document.number, document.record);
        }
        last = documents.back().number;
    }
}

void IndexLoader::addSummary(const SKIndex& index, fulltext::DocumentID document,
                             const std::optional<PropertyRecord>& record) {
    if (!record || record->source.empty()) {
        const auto key = index->index->keyOf(document);
        writeLog(filledIn("Encountered URL with no properties: %@",
                          key ? addressOfDocument(*key) : key.status().message()));
        return;
    }
    if (m_parts.noteSource) m_parts.noteSource(record->source);
    m_summaries.emplace_back(
        PropertyList::Dictionary{{"url", record->url},
                                 {"date", record->date.formattedLocally("%Y-%m-%d %H:%M")},
                                 {"source", record->source}});
    if (m_summaries.size() < kSummariesPerNotification) return;
    postSummaries();
    m_parts.notifier.reportStatus("Loading Index");
}

void IndexLoader::postSummaries() {
    if (m_summaries.empty()) return;
    m_sent += static_cast<std::int64_t>(m_summaries.size());
    m_parts.centre.postMainThreadNotificationName("SiftwellStatusAddURLNotification",
                                                  std::exchange(m_summaries, {}));
}

}  // namespace siftwell
