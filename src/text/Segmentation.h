// Dividing text in scripts without blanks (Han, kana, Thai, Lao, Khmer, Burmese) into words.
#pragma once

#include <string_view>
#include <vector>

namespace siftwell {

// The end of each word in bytes, rising; the last is the size of the text. `text` is well-formed
// UTF-8. Threads: any. Cost: a dictionary look-up; the first call of a thread loads ICU's rules.
std::vector<std::size_t> wordEnds(std::string_view text);

}  // namespace siftwell
