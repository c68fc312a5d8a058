#include "app/PreferenceCommands.h"

#include <utility>
#include <vector>

#include "app/BrowserItems.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

Status noSuchSource(const std::string& name) {
    return {StatusCode::NotFound, filledIn(_("There is no source named \"%@\"."), name)};
}

Status listRefused(const std::string& key) {
    return {StatusCode::Invalid, filledIn(_("\"%@\" is a list with commands of its own."), key)};
}

}  // namespace

PropertyList::Dictionary settableItemValues() {
    return {{"Name", ""},           {"Path", ""},      {"Indexer", ""},
            {"BundleID", ""},       {"Index", false},  {"IndexOnce", false},
            {"Search", false},      {"Expire", false}, {"LastScanDate", Date()},
            {"LastURLDate", Date()}};
}

bool isEditedList(const std::string& key) { return key == "SearchItems" || key == "URLFilters"; }

void PreferenceCommands::commit() {
    m_preferences.commitSettings();
    m_centre.postMainThreadNotificationName("SiftwellPreferenceChangeNotification", {});
}

template <typename Change>
Status PreferenceCommands::changeItems(const std::string& name, Change change) {
    bool isFound = false;
    for (SearchItem& item : m_preferences.mutableSearchItemsArray()) {
        if (item.Name != name) continue;
        isFound = true;
        change(item);
    }
    if (!isFound) return noSuchSource(name);
    commit();
    return {};
}

Status PreferenceCommands::setSearchItemValue(const std::string& name, const std::string& key,
                                              const PropertyList& value) {
    if (!settableItemValues().contains(key)) {
        return {StatusCode::Invalid, filledIn(_("\"%@\" cannot be set."), key)};
    }
    return changeItems(name, [&](SearchItem& item) {
        PropertyList::Dictionary dictionary = item.toDictionary();
        dictionary[key] = value;
        item = SearchItem::fromDictionary(dictionary);
    });
}

Status PreferenceCommands::deleteSearchItem(const std::string& name) {
    std::vector<SearchItem> items = m_preferences.mutableSearchItemsArray();
    const auto count =
        std::erase_if(items, [&name](const SearchItem& item) { return item.Name == name; });
    if (count == 0) return noSuchSource(name);
    m_preferences.setMutableSearchItemsArray(std::move(items));
    commit();
    return {};
}

Status PreferenceCommands::resetScanDate(const std::string& name) {
    return changeItems(name, [](SearchItem& item) { item.LastScanDate = Date::distantPast(); });
}

void PreferenceCommands::addSearchItems(const std::vector<SearchItem>& items) {
    std::vector<SearchItem>& list = m_preferences.mutableSearchItemsArray();
    list.insert(list.end(), items.begin(), items.end());
    commit();
}

void PreferenceCommands::addMissingItems(const std::vector<SearchItem>& items, const Paths& paths) {
    m_preferences.setMutableSearchItemsArray(
        withMissingItems(m_preferences.mutableSearchItemsArray(), items, paths));
    commit();
}

Status PreferenceCommands::addURLFilter(const std::string& text) {
    if (text.empty()) {
        return {StatusCode::Invalid, _("An empty filter keeps nothing out of the index.")};
    }
    m_preferences.addFilterString(text);
    commit();
    return {};
}

Status PreferenceCommands::deleteURLFilter(const std::string& text) {
    const auto isMeant = [&text](const URLFilter& filter) { return filter.String == text; };
    if (std::erase_if(m_preferences.mutableURLFilterArray(), isMeant) == 0) {
        return {StatusCode::NotFound, filledIn(_("There is no filter \"%@\"."), text)};
    }
    commit();
    return {};
}

Status PreferenceCommands::resetURLFilters() {
    m_preferences.resetFilters();
    commit();
    return {};
}

Status PreferenceCommands::setSetting(const std::string& key, const PropertyList& value) {
    if (isEditedList(key)) return listRefused(key);
    m_settings.set(key, value);
    commit();
    return {};
}

Status PreferenceCommands::removeSetting(const std::string& key) {
    if (isEditedList(key)) return listRefused(key);
    m_settings.remove(key);
    commit();
    return {};
}

}  // namespace siftwell
