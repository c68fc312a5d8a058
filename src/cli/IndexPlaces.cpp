#include "cli/IndexPlaces.h"

namespace siftwell {

std::vector<IndexPlace> placesOf(const Url& url, const IndexController& indexes) {
    std::vector<IndexPlace> places;
    const auto key = indexes.skDocumentForURL(url);
    if (!key) return places;
    const auto list = indexes.indexes();
    for (const SKIndex& index : *list) {
        const auto number = index->index->documentWith(*key);
        if (!number || !*number) continue;
        places.push_back({index->name, indexes.propertiesForDocumentID(**number, index)});
    }
    return places;
}

}  // namespace siftwell
