#include "search/SearchSources.h"

#include <algorithm>

namespace siftwell {

std::vector<SearchSource> searchSourcesOf(const std::vector<SearchItem>& items) {
    std::vector<SearchSource> sources;
    for (const SearchItem& item : items) {
        const auto known =
            std::find_if(sources.begin(), sources.end(),
                         [&item](const SearchSource& source) { return source.Name == item.Name; });
        if (known == sources.end()) {
            sources.push_back({item.Name, item.Search});
        } else {
            known->Search |= item.Search;
        }
    }
    return sources;
}

std::optional<std::vector<std::string>> searchSources(const std::vector<SearchSource>& list) {
    std::vector<std::string> names;
    for (const SearchSource& source : list) {
        if (source.Search) names.push_back(source.Name);
    }
    if (names.size() == list.size()) return std::nullopt;
    return names;
}

std::vector<SearchSource> SearchSourceSettings::list() const {
    std::vector<SearchSource> sources;
    for (const PropertyList& entry : m_settings.array("SearchSources")) {
        if (const auto* source = entry.asDictionary()) {
            sources.push_back({stringFor(*source, "Name"), booleanFor(*source, "Search")});
        }
    }
    return sources;
}

void SearchSourceSettings::save(const std::vector<SearchSource>& list) {
    PropertyList::Array entries;
    for (const SearchSource& source : list) {
        entries.push_back(
            PropertyList::Dictionary{{"Name", source.Name}, {"Search", source.Search}});
    }
    m_settings.set("SearchSources", std::move(entries));
}

void SearchSourceSettings::update() {
    const auto sources = searchSourcesOf(searchItemsIn(m_settings.array("SearchItems")));
    if (sources != list()) save(sources);
}

void SearchSourceSettings::set(const std::string& name, bool isSearched) {
    std::vector<SearchSource> sources = list();
    for (SearchSource& source : sources) {
        if (source.Name == name) source.Search = isSearched;
    }
    save(sources);
}

}  // namespace siftwell
