#include "records/URLFilter.h"

namespace siftwell {

std::vector<URLFilter> urlFiltersIn(const PropertyList::Array& list) {
    std::vector<URLFilter> filters;
    for (const PropertyList& entry : list) {
        if (const auto* dictionary = entry.asDictionary()) {
            filters.push_back({.Enabled = booleanFor(*dictionary, "Enabled"),
                               .String = stringFor(*dictionary, "String")});
        }
    }
    return filters;
}

PropertyList::Array listOf(const std::vector<URLFilter>& filters) {
    PropertyList::Array list;
    for (const URLFilter& filter : filters) {
        list.emplace_back(
            PropertyList::Dictionary{{"Enabled", filter.Enabled}, {"String", filter.String}});
    }
    return list;
}

}  // namespace siftwell
