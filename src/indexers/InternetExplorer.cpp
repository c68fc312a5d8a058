#include "indexers/InternetExplorer.h"

#include <utility>

#include "sources/AnchorList.h"

namespace siftwell {

InternetExplorer::InternetExplorer(const Surroundings& surroundings,
                                   std::shared_ptr<SearchItemRecord> searchItem)
    : WholeFileIndexer(surroundings, std::move(searchItem), "InternetExplorer") {}

std::vector<BatchEntry> InternetExplorer::parseEntriesInString(std::string_view text) const {
    return anchorsInText(text, lastURLDate(), [this] { return indexingEnabled(); });
}

std::optional<WholeFileIndexer::Entries> InternetExplorer::entriesInFile(const std::string& path) {
    return entriesInTextFile(path,
                             [this](std::string_view text) { return parseEntriesInString(text); });
}

}  // namespace siftwell
