#include "base/Paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

#include "base/Files.h"

namespace siftwell {

namespace {

std::string below(const std::string& folder, const char* name) {
    return folder.empty() ? std::string() : folder + name;
}

std::string homeOfUser(const char* name) {
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    const int error = name == nullptr
                          ? getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found)
                          : getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found);
    return error == 0 && found != nullptr ? found->pw_dir : "";
}

std::string findResourceFolder() {
    std::string installed = programFolder() + "/../share/siftwell/Contents/Resources";
    if (fileInfo(installed)) return installed;
    return std::string(SIFTWELL_DATA_DIR) + "/Contents/Resources";
}

std::string findIndexerTool() {
    std::string beside = programFolder() + "/SiftwellIndexer";
    return fileInfo(beside) ? beside : programFolder() + "/" SIFTWELL_INDEXER_TOOL;
}

}  // namespace

std::string programFolder() {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    return length <= 0 ? std::string() : folderOf(std::string(buffer.data()));
}

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') return home;
    return homeOfUser(nullptr);
}

std::string expandingTilde(const std::string& path) {
    if (path.empty() || path.front() != '~') return path;
    const std::size_t slash = path.find('/');
    const std::string user = path.substr(1, slash == std::string::npos ? slash : slash - 1);
    const std::string home = user.empty() ? homeFolder() : homeOfUser(user.c_str());
    if (home.empty()) return path;
    return slash == std::string::npos ? home : home + path.substr(slash);
}

std::string baseFolder(const char* variable, const char* belowHome) {
    const char* value = std::getenv(variable);
    if (value != nullptr && value[0] == '/') return value;
    return below(homeFolder(), belowHome);
}

Paths Paths::ofThisUser() {
    const std::string config = baseFolder("XDG_CONFIG_HOME", "/.config");
    return {.settingsFile = below(config, "/siftwell/com.velotrin.Siftwell.plist"),
            .oldIndexFolder = below(config, "/Siftwell Index"),
            .applicationData = baseFolder("XDG_DATA_HOME", "/.local/share"),
            .stateFolder = below(baseFolder("XDG_STATE_HOME", "/.local/state"), "/siftwell"),
            .resourceFolder = findResourceFolder(),
            .indexerTool = findIndexerTool()};
}

std::optional<std::string> Paths::resource(const std::string& name, const std::string& type) const {
    std::string path = resourceFolder + "/" + name;
    if (!type.empty()) path += "." + type;
    if (!fileInfo(path)) return std::nullopt;
    return path;
}

}  // namespace siftwell
