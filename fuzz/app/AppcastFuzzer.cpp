// Any bytes as a feed of releases. Whatever they are, what is told to the user is short plain text
// and leads to a secure address.

#include <string>

#include "Require.h"
#include "app/update/Appcast.h"
#include "text/Utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace siftwell;
    using fuzz::require;

    const std::string_view bytes = fuzz::asText(data, size);
    const auto best = bestItemOfAppcast(bytes, *Url::parse("https://host/folder/feed.xml"));
    if (!best || !*best) return 0;
    const AppcastItem& item = **best;
    require(item.versionText.size() <= VersionNumber::kMaxLength);
    require(VersionNumber::parse(item.versionText) == item.version);
    require(isValidUtf8(item.notes) && utf16Length(item.notes) <= kMaxReleaseNotes);
    if (item.link) require(item.link->scheme().size() == 5);
    return 0;
}
