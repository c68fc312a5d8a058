// RecentSearches: what was searched for last, in the setting "RecentSearches".
//
// Threads: main.
#pragma once

#include <string>
#include <vector>

#include "base/Settings.h"

namespace siftwell {

class RecentSearches {
public:
    static constexpr std::size_t kMost = 20;

    explicit RecentSearches(Settings& settings) : m_settings(settings) {}

    std::vector<std::string> list() const { return m_settings.strings("RecentSearches"); }
    void add(const std::string& text);  // to the front, wherever it was
    void clear() { m_settings.set("RecentSearches", PropertyList::Array()); }

private:
    Settings& m_settings;
};

}  // namespace siftwell
