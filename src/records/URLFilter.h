// URLFilter: a text that keeps every address which contains it out of the index.
#pragma once

#include <string>
#include <vector>

#include "base/PropertyList.h"

namespace siftwell {

struct URLFilter {
    bool Enabled = true;
    std::string String;  // compared without regard to case; an empty one keeps nothing out

    bool operator==(const URLFilter&) const = default;
};

// The filters in a list as the settings hold it, and back. Entries that are no dictionaries are
// left out.
std::vector<URLFilter> urlFiltersIn(const PropertyList::Array& list);
PropertyList::Array listOf(const std::vector<URLFilter>& filters);

}  // namespace siftwell
