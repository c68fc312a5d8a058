#include "sources/browsers/BrowserProfiles.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxNameBytes = 64;

// A section of the list, until it has ended.
struct Section {
    bool isProfile = false;
    bool isRelative = true;
    std::string name;
    std::string path;
};

bool hasComponent(std::string_view path, std::string_view component) {
    while (true) {
        const std::size_t slash = path.find('/');
        if (path.substr(0, slash) == component) return true;
        if (slash == std::string_view::npos) return false;
        path.remove_prefix(slash + 1);
    }
}

bool makesSense(const Section& section) {
    const std::string& path = section.path;
    if (!section.isProfile || path.empty() || path.find('\0') != std::string::npos) return false;
    const bool isAbsolute = path.front() == '/';
    return section.isRelative ? !isAbsolute && !hasComponent(path, "..") : isAbsolute;
}

void readLine(std::string_view line, Section& section) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return;
    const std::string_view key = line.substr(0, equals);
    const std::string_view value = line.substr(equals + 1);
    if (key == "Name") section.name = profileName(value);
    if (key == "Path") section.path = value;
    if (key == "IsRelative") section.isRelative = value != "0";
}

using Json = nlohmann::json;

// The member of that name, when it is an object.
const Json* objectIn(const Json* object, const char* name) {
    if (object == nullptr) return nullptr;
    const auto found = object->find(name);
    return found == object->end() || !found->is_object() ? nullptr : &*found;
}

// No deeper than names stand.
bool isNeeded(int depth, Json::parse_event_t event, const Json&) {
    const bool isContainer =
        event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
    return !isContainer || depth < 4;
}

}  // namespace

std::vector<ListedProfile> profilesInIni(std::string_view ini) {
    std::vector<ListedProfile> profiles;
    Section section;
    const auto end = [&] {
        if (makesSense(section)) {
            profiles.push_back({std::move(section.name), std::move(section.path)});
        }
        section = Section();
    };
    while (!ini.empty() && profiles.size() < kMaxBrowserProfiles) {
        const std::size_t length = ini.find('\n');
        std::string_view line = ini.substr(0, length);
        ini.remove_prefix(std::min(ini.size(), line.size() + 1));
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (line.starts_with('[')) {
            end();
            section.isProfile = line.starts_with("[Profile");
        } else {
            readLine(line, section);
        }
    }
    if (profiles.size() < kMaxBrowserProfiles) end();
    return profiles;
}

std::map<std::string, std::string> profileNamesInLocalState(std::string_view json) {
    std::map<std::string, std::string> names;
    const Json state = Json::parse(json.begin(), json.end(), &isNeeded, /*allow_exceptions=*/false);
    const Json* root = state.is_object() ? &state : nullptr;
    const Json* profiles = objectIn(objectIn(root, "profile"), "info_cache");
    if (profiles == nullptr) return names;
    for (const auto& [folder, profile] : profiles->items()) {
        if (names.size() == kMaxBrowserProfiles) break;
        if (!profile.is_object()) continue;
        const auto name = profile.find("name");
        if (name == profile.end() || !name->is_string()) continue;
        names.emplace(folder, profileName(name->get_ref<const std::string&>()));
    }
    return names;
}

std::string profileName(std::string_view name) {
    std::string clean = repairedUtf8(utf8Prefix(name, kMaxNameBytes));
    for (char& byte : clean) {
        if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F) byte = ' ';
    }
    return std::string(trimmingWhiteSpace(utf8Prefix(clean, kMaxNameBytes)));
}

}  // namespace siftwell
