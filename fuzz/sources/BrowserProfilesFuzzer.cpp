// Any bytes as a browser's list of its profiles. No path leaves the folder of the list unless it is
// absolute, and no name fills more than a line.

#include <string>

#include "Require.h"
#include "sources/browsers/BrowserProfiles.h"
#include "text/Utf8.h"

namespace {

using namespace siftwell;
using fuzz::require;

void requireName(const std::string& name) {
    require(isValidUtf8(name));
    require(name.size() <= 64);
    require(name.find('\n') == std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::asText(data, size);
    const auto profiles = profilesInIni(bytes);
    require(profiles.size() <= kMaxBrowserProfiles);
    for (const ListedProfile& profile : profiles) {
        requireName(profile.name);
        require(!profile.path.empty() && profile.path.find('\0') == std::string::npos);
        const std::string framed = "/" + profile.path + "/";
        require(profile.path.front() == '/' || framed.find("/../") == std::string::npos);
    }
    const auto names = profileNamesInLocalState(bytes);
    require(names.size() <= kMaxBrowserProfiles);
    for (const auto& [folder, name] : names) requireName(name);
    return 0;
}
