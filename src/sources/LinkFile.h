// LinkFile: the address that a link file of Mac OS X (".webloc") leads to.
//
// Older ones keep it in their resource fork, newer ones are property lists. A file system without
// forks has the fork in a companion file ("._name") or in an extended attribute.
//
// Threads: any. Errors: what cannot be read is none. Input is hostile; all of it is bounded.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace siftwell {

// As the file has it; need not be an address.
std::optional<std::string> addressInLinkFile(const std::string& path);

// ---- The forms; pure functions. Views borrow the bytes.

// The resource fork in an AppleDouble companion.
std::optional<std::string_view> resourceForkInAppleDouble(std::string_view bytes);
// The resource of a four-letter type.
std::optional<std::string_view> resourceInFork(std::string_view fork, std::string_view type,
                                               std::uint16_t id);
std::optional<std::string> addressInLinkPropertyList(std::string_view bytes);

}  // namespace siftwell
