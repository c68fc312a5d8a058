// What kind of character something is, by its Unicode general category.
#pragma once

#include <cstdint>

namespace siftwell {

bool isMark(char32_t character);  // category M: belongs to the character before it

// Scripts that are written without blanks between the words.
bool isWrittenWithoutBlanks(char32_t character);

}  // namespace siftwell
