// The places that a search looks at: "SearchSources" among the settings.
//
// The list follows the search items: each name once, searched when one of its items is.
//
// Threads: any.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Settings.h"
#include "records/SearchItem.h"

namespace siftwell {

struct SearchSource {
    std::string Name;
    bool Search = false;

    bool operator==(const SearchSource&) const = default;
};

std::vector<SearchSource> searchSourcesOf(const std::vector<SearchItem>& items);

// The names of those that are searched; none, which stands for every index, when all are.
std::optional<std::vector<std::string>> searchSources(const std::vector<SearchSource>& list);

class SearchSourceSettings {
public:
    explicit SearchSourceSettings(Settings& settings) : m_settings(settings) {}

    std::vector<SearchSource> list() const;
    void save(const std::vector<SearchSource>& list);

    void update();  // by the search items
    void set(const std::string& name, bool isSearched);

private:
    Settings& m_settings;
};

}  // namespace siftwell
