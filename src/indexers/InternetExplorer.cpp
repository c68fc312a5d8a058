#include "indexers/InternetExplorer.h"

#include <utility>

#include "sources/AnchorList.h"
#include "text/Encodings.h"

namespace siftwell {

namespace {

std::string textOf(const std::string& bytes) {
    const auto encoding = encodingForEncodingName(fileEncodingName(bytes));
    return encoding ? encoding->decode(bytes).value_or("") : "";
}

}  // namespace

InternetExplorer::InternetExplorer(const Surroundings& surroundings,
                                   std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "InternetExplorer") {}

void InternetExplorer::performIndexingScan() {
    for (const std::string& path : paths()) {
        if (!indexingEnabled()) break;
        yieldForPriorityThread();
        const Date modified = modificationDateOfFileAtPath(path);
        if (modified > lastScanDate()) indexFile(path, modified);
    }
    setScanResultOfWholeScan();
}

void InternetExplorer::indexFile(const std::string& path, Date modified) {
    reportProgress("Checking URL dates...");
    const std::string text = textOf(bytesOfFile(path).value_or(""));
    const std::vector<BatchEntry> entries = parseEntriesInString(text);
    reportProgressDone("Checking URL dates...");
    if (text.empty()) return;
    noteLimit(entries.size(), path);
    setLastURLDate(indexURLAndDateArray(entries));
    setLastScanDate(modified);
}

std::vector<BatchEntry> InternetExplorer::parseEntriesInString(std::string_view text) const {
    std::vector<BatchEntry> entries;
    for (Anchor& anchor :
         anchorsInText(text, lastURLDate(), [this] { return indexingEnabled(); })) {
        entries.push_back({.url = std::move(anchor.url),
                           .date = anchor.date,
                           .source = std::move(anchor.source),
                           .indexer = std::move(anchor.indexer)});
    }
    return entries;
}

}  // namespace siftwell
