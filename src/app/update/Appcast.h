// Appcast: the newest version that a feed of releases tells of.
//
// An RSS feed whose items name their versions: `shortVersionString`, else `version`, as attributes
// of the item's enclosure or as elements of the item, with any prefix.
//
// Threads: pure function. Errors: a feed is hostile. Memory is a small multiple of its bytes and
// time is linear; nothing outside of it is read.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/update/VersionNumber.h"
#include "base/Status.h"
#include "base/Url.h"

namespace siftwell {

inline constexpr std::size_t kMaxAppcastBytes = std::size_t{1} << 20;
inline constexpr std::size_t kMaxAppcastMarkups = 50'000;  // each takes up to 150 bytes of memory
inline constexpr std::size_t kMaxAppcastItems = 500;       // the first ones
inline constexpr std::size_t kMaxReleaseNotes = 4096;      // UTF-16 units

struct AppcastItem {
    VersionNumber version;
    std::string versionText;  // as the feed has it
    std::optional<Url> link;  // https: the release's page, else its file
    std::string notes;        // plain text; the title when there is no description
};

// The item with the highest version, the first of equal ones; none when no item has a version.
// Links are seen from `base`.
Result<std::optional<AppcastItem>> bestItemOfAppcast(std::string_view bytes, const Url& base);

}  // namespace siftwell
