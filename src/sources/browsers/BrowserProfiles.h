// BrowserProfiles: the profiles of a browser, as the lists that it keeps of them tell.
//
// Threads: pure functions. Errors: what makes no sense is left out. Input is hostile; a list is
// read to kMaxBrowserProfiles profiles.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

inline constexpr std::size_t kMaxBrowserProfiles = 100;

struct ListedProfile {
    std::string name;
    // Absolute, or below the folder of the list, which it does not leave.
    std::string path;

    bool operator==(const ListedProfile&) const = default;
};

// Of "profiles.ini".
std::vector<ListedProfile> profilesInIni(std::string_view ini);

// Of "Local State": names by the folders of the profiles.
std::map<std::string, std::string> profileNamesInLocalState(std::string_view json);

// A name as it may stand in the name of a source: UTF-8 in one line, not longer than a few words.
std::string profileName(std::string_view name);

}  // namespace siftwell
