#include "index/OpenIndex.h"

namespace siftwell {

Status OpenIndex::flush() {
    const ExclusiveHold hold(pairGate);
    if (!properties->write()) {
        // Nothing is new: the engine puts its latest texts in order.
        return properties->isWritten() ? index->flush() : Status();
    }
    Status status = index->flush();
    if (status.isOk()) properties->indexWasFlushed();
    return status;
}

std::vector<StoredDocument> OpenIndex::documentsBehind(fulltext::DocumentID number,
                                                       std::size_t max) const {
    const auto numbers = index->documentsBehind(number, max);
    auto records = properties->recordsBehind(number, max);
    auto record = records.begin();
    std::vector<StoredDocument> documents;
    documents.reserve(numbers.size());
    for (const fulltext::DocumentID document : numbers) {
        while (record != records.end() && record->first < document) ++record;
        const bool isNext = record != records.end() && record->first == document;
        documents.push_back({document, isNext ? std::move(record->second)
                                              : properties->propertiesForSKDocument(document)});
    }
    return documents;
}

Status OpenIndex::eraseRemoved(bool withRewrite) {
    Status status = flush();
    if (status.isOk()) status = withRewrite ? index->compact() : index->sync();
    if (!status.isOk()) return status;
    const ExclusiveHold hold(pairGate);
    return properties->eraseRemoved(withRewrite);
}

Status OpenIndex::close() {
    // An index that is closed flushes by itself; documents whose records could not be written must
    // not become part of it.
    Status status = properties->isWritten() ? index->close() : Status();
    properties->close();
    return status;
}

}  // namespace siftwell
