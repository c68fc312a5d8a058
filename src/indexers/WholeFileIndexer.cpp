#include "indexers/WholeFileIndexer.h"

#include "text/Encodings.h"

namespace siftwell {

namespace {

std::string textOf(const std::string& bytes) {
    const auto encoding = encodingForEncodingName(fileEncodingName(bytes));
    return encoding ? encoding->decode(bytes).value_or("") : "";
}

}  // namespace

void WholeFileIndexer::performIndexingScan() {
    for (const std::string& path : paths()) {
        if (!indexingEnabled()) break;
        yieldForPriorityThread();
        const Date modified = modificationDateOfFileAtPath(path);
        if (modified > lastScanDate()) indexFile(path, modified);
    }
    setScanResultOfWholeScan();
}

void WholeFileIndexer::indexFile(const std::string& path, Date modified) {
    const std::optional<Entries> entries = entriesInFile(path);
    if (!entries) return;
    noteLimit(entries->size(), path);
    setLastURLDate(indexURLAndDateArray(*entries));
    setLastScanDate(modified);
}

std::optional<WholeFileIndexer::Entries> WholeFileIndexer::entriesInTextFile(
    const std::string& path, const std::function<Entries(std::string_view text)>& parse) {
    const std::string text = textOf(bytesOfFile(path).value_or(""));
    if (text.empty()) return std::nullopt;
    reportProgress("Checking URL dates...");
    Entries entries = parse(text);
    reportProgressDone("Checking URL dates...");
    return entries;
}

WholeFileIndexer::Entries WholeFileIndexer::newEntries(Entries entries, Date newerThan) const {
    std::erase_if(entries, [&](const BatchEntry& entry) {
        return !entry.date || *entry.date <= newerThan ||
               !m_surroundings.indexes.canProcessURL(entry.url);
    });
    return entries;
}

}  // namespace siftwell
