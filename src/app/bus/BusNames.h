// What the program is called on the session bus.
//
// Each name is that of an interface too, and of an object: with slashes in the place of the dots.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace siftwell::busName {

inline constexpr const char* kAppController = "com.velotrin.Siftwell.AppController";
inline constexpr const char* kNotifier = "com.velotrin.Siftwell.SWNotifier";
inline constexpr const char* kDocumentRetriever = "com.velotrin.Siftwell.DocumentRetriever";

// The signal of the AppController object that passes these notifications on, and no others.
inline constexpr const char* kNotification = "notification";
inline constexpr std::array<const char*, 7> kPassedOn = {
    "SiftwellErrorNotification",           "SiftwellIndexerProgressStartNotification",
    "SiftwellIndexerProgressNotification", "SiftwellIndexerProgressDoneNotification",
    "SiftwellStatusChangeNotification",    "SiftwellIndexingDoneNotification",
    "SiftwellUpdateAvailableNotification",
};

inline bool isPassedOn(std::string_view notification) {
    return std::find(kPassedOn.begin(), kPassedOn.end(), notification) != kPassedOn.end();
}

inline std::string pathOf(std::string_view name) {
    std::string path = "/" + std::string(name);
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

}  // namespace siftwell::busName
