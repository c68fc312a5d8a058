#include "index/IndexCheck.h"

namespace siftwell {

namespace {

std::uint64_t countWithoutRecord(const OpenIndex& index) {
    constexpr std::size_t kDocumentsPerLook = 1000;
    std::uint64_t count = 0;
    for (fulltext::DocumentID last = 0;;) {
        const auto documents = index.index->documentsBehind(last, kDocumentsPerLook);
        if (documents.empty()) return count;
        for (const fulltext::DocumentID document : documents) {
            if (!index.properties->dateForSKDocument(document)) ++count;
        }
        last = documents.back();
    }
}

}  // namespace

CheckedIndex checkIndex(const OpenIndex& index) {
    CheckedIndex checked{.name = index.name, .documents = index.index->documentCount()};
    checked.status = index.index->check();
    if (checked.status.isOk()) checked.status = index.properties->check();
    if (checked.status.isOk()) checked.withoutRecord = countWithoutRecord(index);
    return checked;
}

}  // namespace siftwell
