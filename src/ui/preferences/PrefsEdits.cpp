#include "ui/preferences/PrefsEdits.h"

#include <algorithm>
#include <set>
#include <utility>

#include "app/DefaultURLFilters.h"

namespace siftwell {

namespace {

// What other values a scan would work by.
const std::set<std::string>& keysOfScans() {
    static const std::set<std::string> keys{"UseContentExtractors", "DaysToSearch",
                                            "IndexProtectedPages"};
    return keys;
}

// Each value that was changed, over what stands there now.
SearchItem merged(const EditedItem& edited, const SearchItem& current) {
    const auto before = edited.stored->toDictionary();
    const auto after = edited.item.toDictionary();
    auto result = current.toDictionary();
    for (const auto& [key, value] : after) {
        const PropertyList* old = find(before, key);
        if (old == nullptr || *old != value) result[key] = value;
    }
    for (const auto& [key, value] : before) {
        if (!after.contains(key)) result.erase(key);
    }
    return SearchItem::fromDictionary(result);
}

bool isChanged(const EditedItem& edited) {
    if (!edited.stored) return !edited.isRemoved && (!edited.isOffered || edited.item.Index);
    return edited.isRemoved || edited.item != *edited.stored;
}

bool contains(const std::vector<URLFilter>& filters, const URLFilter& filter) {
    return std::find(filters.begin(), filters.end(), filter) != filters.end();
}

}  // namespace

void PrefsEdits::load() {
    PrefsController& preferences = m_session.preferences();
    m_values.clear();
    m_items.clear();
    for (const SearchItem& item : preferences.mutableSearchItemsArray()) {
        m_items.push_back({.stored = item, .item = item});
    }
    m_filters = preferences.mutableURLFilterArray();
    m_storedFilters = urlFiltersIn(m_session.settings().array("URLFilters"));
    m_areFiltersUnchecked |= preferences.takeFiltersChanged();
    preferences.revert();  // or the next one who stores something would store these lists, too
}

void PrefsEdits::resetFilters() { m_filters = defaultURLFilters(); }

PropertyList PrefsEdits::value(const std::string& key) const {
    const auto chosen = m_values.find(key);
    return chosen == m_values.end() ? m_session.settings().value(key) : chosen->second;
}

bool PrefsEdits::boolean(const std::string& key) const {
    return value(key).asBooleanLenient().value_or(false);
}

double PrefsEdits::real(const std::string& key) const {
    return value(key).asRealLenient().value_or(0);
}

std::string PrefsEdits::string(const std::string& key) const {
    const PropertyList text = value(key);
    return text.asString() == nullptr ? "" : *text.asString();
}

void PrefsEdits::set(const std::string& key, PropertyList value) {
    if (value == m_session.settings().value(key)) {
        m_values.erase(key);
    } else {
        m_values[key] = std::move(value);
    }
}

bool PrefsEdits::hasNewFilters() const {
    if (m_areFiltersUnchecked) return true;
    return std::any_of(m_filters.begin(), m_filters.end(), [this](const URLFilter& filter) {
        return filter.Enabled && !filter.String.empty() && !contains(m_storedFilters, filter);
    });
}

bool PrefsEdits::storeItems() {
    if (std::none_of(m_items.begin(), m_items.end(), isChanged)) return false;
    PrefsController& preferences = m_session.preferences();
    std::vector<SearchItem> result;
    std::set<const EditedItem*> met;
    for (const SearchItem& current : preferences.mutableSearchItemsArray()) {
        const auto edited =
            std::find_if(m_items.begin(), m_items.end(), [&](const EditedItem& each) {
                return each.stored && each.stored->isSameItemAs(current) && !met.contains(&each);
            });
        if (edited == m_items.end()) {
            result.push_back(current);
            continue;
        }
        met.insert(&*edited);
        if (!edited->isRemoved) result.push_back(merged(*edited, current));
    }
    for (const EditedItem& edited : m_items) {
        if (!edited.stored && isChanged(edited)) result.push_back(edited.item);
    }
    preferences.setMutableSearchItemsArray(std::move(result));
    return true;
}

// What others added or took away meanwhile holds.
std::vector<URLFilter> PrefsEdits::mergedFilters() const {
    const std::vector<URLFilter> current = urlFiltersIn(m_session.settings().array("URLFilters"));
    std::vector<URLFilter> result = m_filters;
    std::erase_if(result, [&](const URLFilter& filter) {
        return contains(m_storedFilters, filter) && !contains(current, filter);
    });
    std::copy_if(current.begin(), current.end(), std::back_inserter(result),
                 [&](const URLFilter& filter) {
                     return !contains(m_storedFilters, filter) && !contains(result, filter);
                 });
    return result;
}

bool PrefsEdits::storeFilters() {
    if (m_filters == m_storedFilters) return false;
    PrefsController& preferences = m_session.preferences();
    std::vector<URLFilter> filters = mergedFilters();
    if (filters == defaultURLFilters()) {
        preferences.resetFilters();
    } else {
        preferences.mutableURLFilterArray() = std::move(filters);
    }
    return true;
}

PrefsEdits::Changes PrefsEdits::confirm() {
    m_areFiltersUnchecked |= m_session.preferences().takeFiltersChanged();
    Changes changes{.hasNewFilters = hasNewFilters()};
    changes.hasSources = storeItems();
    changes.hasFilters = storeFilters();
    changes.hasValues = !m_values.empty();
    changes.concernsScans = changes.hasSources || changes.hasFilters;
    for (auto& [key, value] : m_values) {
        changes.concernsScans |= keysOfScans().contains(key);
        m_session.settings().set(key, std::move(value));
    }
    if (!changes.isNone()) {
        m_session.preferences().commitSettings();
        m_session.centre().postMainThreadNotificationName("SiftwellPreferenceChangeNotification",
                                                          {});
    }
    static_cast<void>(m_session.preferences().takeFiltersChanged());
    m_areFiltersUnchecked = false;
    m_values.clear();
    return changes;
}

}  // namespace siftwell
