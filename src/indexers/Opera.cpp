#include "indexers/Opera.h"

#include <utility>

#include "sources/OperaPages.h"

namespace siftwell {

Opera::Opera(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem)
    : WholeFileIndexer(surroundings, std::move(searchItem), "Opera") {}

std::vector<BatchEntry> Opera::parseEntriesInString(std::string_view text) const {
    return operaPagesInText(text, [this] { return indexingEnabled(); });
}

std::optional<WholeFileIndexer::Entries> Opera::entriesInFile(const std::string& path) {
    return entriesInTextFile(path,
                             [this](std::string_view text) { return parseEntriesInString(text); });
}

}  // namespace siftwell
