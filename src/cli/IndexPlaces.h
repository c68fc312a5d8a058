// IndexPlaces: where a page stands in the index.
//
// Threads: main.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "index/IndexController.h"
#include "records/PropertyRecord.h"

namespace siftwell {

struct IndexPlace {
    std::string index;                     // its name
    std::optional<PropertyRecord> record;  // none when it was lost
};

// One for every index that holds the page.
std::vector<IndexPlace> placesOf(const Url& url, const IndexController& indexes);

}  // namespace siftwell
