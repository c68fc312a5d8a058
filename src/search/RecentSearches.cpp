#include "search/RecentSearches.h"

namespace siftwell {

void RecentSearches::add(const std::string& text) {
    std::vector<std::string> searches = list();
    std::erase(searches, text);
    searches.insert(searches.begin(), text);
    if (searches.size() > kMost) searches.resize(kMost);
    m_settings.set("RecentSearches", PropertyList::Array(searches.begin(), searches.end()));
}

}  // namespace siftwell
