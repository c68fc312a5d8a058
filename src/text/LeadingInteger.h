// A number at the front of a text, as people write it in attributes and entities.
#pragma once

#include <cstdint>
#include <string_view>

namespace siftwell {

// White space in front and anything behind is passed over. What begins with no number is 0; one
// that is too large is the largest, or the smallest, that there is.
std::int64_t leadingInteger(std::string_view text);

}  // namespace siftwell
