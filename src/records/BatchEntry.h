// BatchEntry: a page of a history or of bookmarks, as an indexer hands it over with others.
#pragma once

#include <optional>
#include <string>

#include "base/Date.h"
#include "base/Url.h"

namespace siftwell {

struct BatchEntry {
    Url url;
    std::optional<Date> date;
    std::optional<std::string> title;
    std::optional<std::string> source;   // the indexer's own when there is none
    std::optional<std::string> indexer;  // likewise
};

}  // namespace siftwell
