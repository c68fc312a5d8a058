#include "indexers/OmniWebHistory.h"

#include <utility>

#include "base/Exception.h"
#include "sources/PropertyListPages.h"

namespace siftwell {

OmniWebHistory::OmniWebHistory(const Surroundings& surroundings,
                               std::shared_ptr<SearchItemRecord> searchItem)
    : WholeFileIndexer(surroundings, std::move(searchItem), "OmniWebHistory") {}

std::optional<WholeFileIndexer::Entries> OmniWebHistory::parseHistory(std::string_view bytes) {
    reportProgress("Checking URL dates...");
    auto visits = omniWebHistory(bytes, [this] { return indexingEnabled(); });
    reportProgressDone("Checking URL dates...");
    if (!visits) return std::nullopt;
    return newEntries(*std::move(visits), lastScanDate());
}

std::optional<WholeFileIndexer::Entries> OmniWebHistory::entriesInFile(const std::string&) {
    throw NamedException("UnrecognisedOperation", "OmniWebHistory does not know its own path.");
}

}  // namespace siftwell
