#include "index/RemovalWalk.h"

namespace siftwell {

namespace {

constexpr std::size_t kDocumentsPerLook = 500;
constexpr std::size_t kRemovalsPerFlush = 10000;  // what waits to be written is kept in memory

class RemovalWalk {
public:
    RemovalWalk(OpenIndex& index, const RemovalRules& rules) : m_index(index), m_rules(rules) {}

    void run();

private:
    void judge(const StoredDocument& document);
    void removeWithoutRecord(fulltext::DocumentID document);

    OpenIndex& m_index;
    const RemovalRules& m_rules;
    bool m_isAnyKept = false;
    std::size_t m_removed = 0;                 // since the last flush
    std::optional<bool> m_areRecordsReadable;  // once it was looked at
};

void RemovalWalk::run() {
    for (fulltext::DocumentID last = 0;;) {
        const auto documents = m_index.documentsBehind(last, kDocumentsPerLook);
        if (documents.empty()) return;
        for (const StoredDocument& document : documents) {
            if (!m_rules.mayContinue()) return;
            judge(document);
        }
        last = documents.back().number;
        if (m_removed < kRemovalsPerFlush) continue;
        m_rules.flush();
        m_removed = 0;
    }
}

void RemovalWalk::judge(const StoredDocument& document) {
    if (!document.record) {
        if (!m_isAnyKept) removeWithoutRecord(document.number);
    } else if (m_rules.isKept(document.number, *document.record)) {
        m_isAnyKept = true;
    } else {
        ++m_removed;
    }
}

// Nobody adds while the pair is held: a document that has no record even then never gets one. It
// was not counted.
void RemovalWalk::removeWithoutRecord(fulltext::DocumentID document) {
    if (!m_areRecordsReadable) m_areRecordsReadable = m_index.properties->check().isOk();
    if (!*m_areRecordsReadable) return;
    const ExclusiveHold hold(m_index.pairGate);
    if (m_index.properties->propertiesForSKDocument(document)) {
        m_isAnyKept = true;
    } else if (m_index.index->remove(document).isOk()) {
        m_index.properties->removeSKDocument(document);  // so that the removal is written
        ++m_removed;
    }
}

}  // namespace

void walkRemoving(OpenIndex& index, const RemovalRules& rules) { RemovalWalk(index, rules).run(); }

}  // namespace siftwell
