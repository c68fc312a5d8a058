// PropertyRecord: what the index store knows of a document beside its words.
#pragma once

#include <optional>
#include <string>

#include "base/Date.h"

namespace siftwell {

struct PropertyRecord {
    Date date;            // visit or modification; the moment of adding when nobody knew
    std::string source;   // the search item that produced it; names its index
    std::string indexer;  // class name of the indexer that produced it
    std::string title;    // never empty
    std::string url;      // absolute and in full
    std::optional<std::string> cachePath;  // a local copy of the page's bytes; never empty

    bool operator==(const PropertyRecord&) const = default;
};

}  // namespace siftwell
