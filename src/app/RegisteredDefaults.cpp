#include "app/RegisteredDefaults.h"

#include <ctime>

#include "app/DefaultSearchItems.h"
#include "app/DefaultURLFilters.h"

namespace siftwell {

namespace {

using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

// Midnight where the user is: the search window shows the day.
Date firstDayOf2000() {
    std::tm day{};
    day.tm_year = 100;
    day.tm_mday = 1;
    day.tm_isdst = -1;
    return Date::fromUnix(static_cast<double>(std::mktime(&day)));
}

Dictionary contentDefaults() {
    return {
        {"NativeExtensions",
         Array{"html",  "htm",     "txt",   "text",       "h",           "m",          "mm",
               "c",     "cc",      "c++",   "cpp",        "java",        "pl",         "php",
               "dat",   "monitor", "plist", "rss",        "xml",         "sqlite",     "http",
               "https", "feed",    "log",   "webarchive", "webbookmark", "webhistory", "webloc"}},
        {"ExtractorExtensions", Array{"pdf", "rtf", "rtfd", "doc"}},
        {"FilteredExtensions",
         Array{"jpg",  "mov",  "png", "gif",  "tif", "tiff", "swf",  "cab", "wmv", "ico",
               "aif",  "aiff", "au",  "snd",  "wav", "mpg",  "mpeg", "qt",  "ram", "avi",
               "css",  "js",   "zip", "gzip", "hqx", "bin",  "dmg",  "sit", "pkz", "jar",
               "sitx", "gz",   "tgz", "tar",  "mp3", "mp4",  "m4p"}},
        {"NativeTypes", Array{"TEXT", "HTML"}},
        {"ExtractorTypes", Array{"PDF ", "RTF ", "WDBN", "W8BN"}},
        {"UseContentExtractors", false}};
}

Dictionary scanDefaults() {
    return {{"SearchItems", listOf(defaultSearchItems())},
            {"URLFilters", listOf(defaultURLFilters())},
            {"DaysToSearch", 60},
            {"MinutesBetweenScans", 1.0},
            {"StartupIndexingDelay", 60},
            {"IndexOptimizationThreshold", 100},
            {"MaxDownloadThreads", 5},
            {"IndexProtectedPages", 0},
            {"JavaScriptEnabled", true},
            {"SuppressNetworkWarnings", false},
            {"LastIndexScanDate", Date::distantPast()},
            {"LastExpirationScanDate", Date::distantPast()}};
}

Dictionary searchWindowDefaults(Date now) {
    return {{"LoadImages", true},
            {"PreviewRunsScripts", false},
            {"LiveSearch", 1},
            {"SearchType", "0"},
            {"ContentSearchAppearance", "Standard"},
            {"ContentSearchVisible", "Yes"},
            {"IndexListVisible", "Yes"},
            {"constrainDate", 0},
            {"constraintTime", 6},
            {"constraintTimeUnits", 43200},
            {"constraintDate1", firstDayOf2000()},
            {"constraintDate2", now}};
}

Dictionary programDefaults() {
    return {{"EnableHotkey", true},         {"HotkeyCode", 4},
            {"HotkeyMods", 4352},           {"ShowIconInDock", true},
            {"ShowWindowOnActivate", true}, {"SearchPaletteFloats", false},
            {"SearchPaletteHides", false},  {"SearchPaletteOnlyInBrowser", false},
            {"LaunchAtLogin", false},       {"CheckForUpdates", true},
            {"UpdateCheckInterval", 1},     {"LastUpdateCheck", Date::distantPast()}};
}

}  // namespace

PropertyList::Dictionary registeredDefaults(Date now) {
    Dictionary defaults = contentDefaults();
    defaults.merge(scanDefaults());
    defaults.merge(searchWindowDefaults(now));
    defaults.merge(programDefaults());
    return defaults;
}

}  // namespace siftwell
