// Cutting and mending UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace siftwell {

// The longest prefix of at most `maxBytes` that does not cut a character.
std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes);

// The text with every malformed byte replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

}  // namespace siftwell
