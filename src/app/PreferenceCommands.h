// PreferenceCommands: what front ends change in the sources, the address filters and the settings.
//
// Every change is stored at once and announced by "SiftwellPreferenceChangeNotification".
//
// Threads: main. Errors: as Status, see Driver.
#pragma once

#include <string>
#include <vector>

#include "app/PrefsController.h"
#include "base/NotificationCentre.h"
#include "base/Paths.h"
#include "base/PropertyList.h"
#include "base/Settings.h"
#include "base/Status.h"

namespace siftwell {

// What may be set of a search item, each with a value of its type. The rest is the scan cycle's.
PropertyList::Dictionary settableItemValues();

// Whether the setting is a list that has commands of its own: the next commit would put it in the
// place of any other value.
bool isEditedList(const std::string& key);

class PreferenceCommands {
public:
    PreferenceCommands(Settings& settings, PrefsController& preferences, NotificationCentre& centre)
        : m_settings(settings), m_preferences(preferences), m_centre(centre) {}

    Status setSearchItemValue(const std::string& name, const std::string& key,
                              const PropertyList& value);
    Status deleteSearchItem(const std::string& name);
    Status resetScanDate(const std::string& name);
    void addSearchItems(const std::vector<SearchItem>& items);
    void addMissingItems(const std::vector<SearchItem>& items, const Paths& paths);

    Status addURLFilter(const std::string& text);
    Status deleteURLFilter(const std::string& text);
    Status resetURLFilters();

    Status setSetting(const std::string& key, const PropertyList& value);
    Status removeSetting(const std::string& key);

private:
    // Hands `change` each item of that name.
    template <typename Change>
    Status changeItems(const std::string& name, Change change);
    void commit();

    Settings& m_settings;
    PrefsController& m_preferences;
    NotificationCentre& m_centre;
};

}  // namespace siftwell
