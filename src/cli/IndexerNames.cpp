#include "cli/IndexerNames.h"

#include <set>
#include <vector>

#include "app/IndexerList.h"
#include "base/Translate.h"
#include "cli/NearNames.h"

namespace siftwell {

namespace {

std::set<std::string> indexerNames() {
    std::set<std::string> names;
    for (const IndexerChoice& choice : indexerList()) names.insert(choice.indexer);
    return names;
}

}  // namespace

bool isIndexerName(const std::string& name) { return indexerNames().contains(name); }

std::string explanationOfIndexer(const std::string& name) {
    const auto names = indexerNames();
    std::string list;
    for (const std::string& each : names) list += (list.empty() ? "" : ", ") + each;
    return filledIn(_("There is no indexer named \"%@\"."), name) +
           meantPerhaps(name, {names.begin(), names.end()}) + " " +
           filledIn(_("These there are: %@."), list);
}

}  // namespace siftwell
