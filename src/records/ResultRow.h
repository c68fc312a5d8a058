// ResultRow: one hit of a search, as windows and terminals show it.
#pragma once

#include <optional>
#include <string>

#include "base/Date.h"

namespace siftwell {

struct ResultRow {
    std::string url;
    float score = 0;
    std::string cachePath;  // "" when there is none
    std::string title;
    std::string indexer;         // "" when unknown
    std::string date;            // "%Y/%m/%d %H:%M", local time
    std::string source;          // "" when unknown
    std::optional<Date> moment;  // the record's date behind `date`
};

}  // namespace siftwell
