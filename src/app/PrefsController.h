// PrefsController: the lists of search items and of address filters while they are edited.
//
// The scan cycle and the windows work on these lists and never on the settings directly; what they
// changed becomes a setting when it is committed. Whoever committed tells the others.
//
// Threads: main.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Settings.h"
#include "records/SearchItem.h"
#include "records/URLFilter.h"

namespace siftwell {

class PrefsController {
public:
    explicit PrefsController(Settings& settings) : m_settings(settings) {}

    // The list being edited. A missing or empty one is read from the settings. The reference holds
    // until the list is replaced, committed or reverted.
    std::vector<SearchItem>& mutableSearchItemsArray();
    void setMutableSearchItemsArray(std::vector<SearchItem> items);

    // Likewise. The filter "/localhost" of older versions is left out when the list is read.
    std::vector<URLFilter>& mutableURLFilterArray();

    void addFilter();  // with a text to be overwritten
    void addFilterString(const std::string& filter);
    void resetFilters();  // the default filters again

    // Whether filters were added, or "/localhost" left out, since the last call: then the pages in
    // the index have not been compared with all of them.
    bool takeFiltersChanged();

    // Stores the lists that are held, empty ones too, and reads the search items anew.
    void commitSettings();

    // Forgets what was edited and reads the search items anew.
    void revert();

private:
    Settings& m_settings;
    std::optional<std::vector<SearchItem>> m_searchItems;
    std::optional<std::vector<URLFilter>> m_urlFilters;
    bool m_filtersChanged = false;
};

}  // namespace siftwell
