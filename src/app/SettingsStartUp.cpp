#include "app/SettingsStartUp.h"

#include <cstdlib>
#include <memory>

#include "app/DefaultSearchItems.h"
#include "app/RegisteredDefaults.h"
#include "app/SearchItemMerge.h"
#include "base/Files.h"
#include "base/Paths.h"

namespace siftwell {

namespace {

// There is no such engine here; with this version files are looked for where they are today.
constexpr const char* kEngineVersion = "8600";

std::optional<std::string> resolvedFolder(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        realpath(expandingTilde(path).c_str(), nullptr), &std::free);
    if (resolved == nullptr) return std::nullopt;
    const auto info = fileInfo(resolved.get());
    if (!info || !info->isFolder) return std::nullopt;
    return resolved.get();
}

}  // namespace

void SettingsStartUp::registerDefaults() {
    m_settings.registerDefaults(registeredDefaults(m_clock.now()));
    m_settings.remove("SUFeedURL");
    m_settings.set("IndexProtectedPages", 0);
}

void SettingsStartUp::updateDefaultSearchItems() {
    m_preferences.setMutableSearchItemsArray(
        mergedSearchItems(m_preferences.mutableSearchItemsArray(), defaultSearchItems(),
                          kEngineVersion, &resolvedFolder));
    m_preferences.commitSettings();
    m_centre.postMainThreadNotificationName("SiftwellPreferenceChangeNotification", {});
}

}  // namespace siftwell
