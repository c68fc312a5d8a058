// SettingsStartUp: what happens to the settings at every launch.
//
// Threads: main.
#pragma once

#include "app/PrefsController.h"
#include "base/Clock.h"
#include "base/NotificationCentre.h"
#include "base/Settings.h"

namespace siftwell {

class SettingsStartUp {
public:
    SettingsStartUp(Settings& settings, PrefsController& preferences, NotificationCentre& centre,
                    const Clock& clock)
        : m_settings(settings), m_preferences(preferences), m_centre(centre), m_clock(clock) {}

    // First of all, before anybody reads a setting. A stored address of the update feed is
    // dropped, and asking for credentials does not survive a restart.
    void registerDefaults();

    // Once everybody who observes the settings exists: the built-in search items come into the
    // user's list, and all are told by "SiftwellPreferenceChangeNotification" in a later turn.
    void updateDefaultSearchItems();

private:
    Settings& m_settings;
    PrefsController& m_preferences;
    NotificationCentre& m_centre;
    const Clock& m_clock;
};

}  // namespace siftwell
