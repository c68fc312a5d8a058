#include "app/PrefsController.h"

#include <utility>

#include "base/Translate.h"

namespace siftwell {

std::vector<SearchItem>& PrefsController::mutableSearchItemsArray() {
    if (!m_searchItems || m_searchItems->empty()) {
        m_searchItems = searchItemsIn(m_settings.array("SearchItems"));
    }
    return *m_searchItems;
}

void PrefsController::setMutableSearchItemsArray(std::vector<SearchItem> items) {
    m_searchItems = std::move(items);
}

std::vector<URLFilter>& PrefsController::mutableURLFilterArray() {
    if (!m_urlFilters || m_urlFilters->empty()) {
        m_urlFilters = urlFiltersIn(m_settings.array("URLFilters"));
        const auto isLocalhost = [](const URLFilter& filter) {
            return filter.String == "/localhost";
        };
        if (std::erase_if(*m_urlFilters, isLocalhost) > 0) m_filtersChanged = true;
    }
    return *m_urlFilters;
}

void PrefsController::addFilter() { addFilterString(_("match-this-text")); }

void PrefsController::addFilterString(const std::string& filter) {
    mutableURLFilterArray().push_back({.Enabled = true, .String = filter});
    m_filtersChanged = true;
}

void PrefsController::resetFilters() {
    m_urlFilters.reset();
    m_settings.remove("URLFilters");
}

bool PrefsController::takeFiltersChanged() { return std::exchange(m_filtersChanged, false); }

void PrefsController::commitSettings() {
    if (m_searchItems) m_settings.set("SearchItems", listOf(*m_searchItems));
    if (m_urlFilters) m_settings.set("URLFilters", listOf(*m_urlFilters));
    m_searchItems.reset();
    m_urlFilters.reset();
    mutableSearchItemsArray();
}

void PrefsController::revert() {
    m_searchItems.reset();
    m_urlFilters.reset();
    m_filtersChanged = false;
    mutableSearchItemsArray();
}

}  // namespace siftwell
