// The passes of HTMLProcessor for short texts, as operations on a string. They are older, compare
// letter by letter and find other things than HTMLProcessor does; nothing about a page's words may
// rest on both doing the same.
//
// Threads: any. Errors: none. Time is linear in the text for a given pass (times the logarithm of
// the number of different numeric entities), whatever it contains. The text is valid UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "text/Yield.h"

namespace siftwell {

// Decodes numeric entities, then named ones row by row of kSpecialEncodedCharMap, so that
// "&amp;quot;" ends as a quotation mark and "&amp;copy;" as "&copy;". Yields for every numeric
// entity that it comes across and before every tenth row, until no "&" is left.
//
// A numeric entity stands wherever it stands in the text for what it is at its first place; but the
// search goes on two characters behind where that first place was, so that of two different ones
// side by side the second may stay. Its number is cut to 16 bits. Half of a UTF-16 pair, which
// cannot stand alone in UTF-8, becomes U+FFFD. A "&", "#" or ";" that was itself an entity begins
// or ends no other numeric one.
void replaceHTMLEncodedChars(std::string& text, const Yield& whilePerforming);

// Only the first half of the above.
void replaceNumericEntities(std::string& text, const Yield& whilePerforming);

// Decodes "&gt;", yields, decodes "&lt;"; both in small letters only.
void replaceHTMLEncodedDelimiters(std::string& text, const Yield& whilePerforming);

// Puts one space in place of everything from a start delimiter to the next stop delimiter, which
// may begin within the start delimiter, until no stop follows. Yields for every start.
void deleteTagsWithStartDelimiter(std::string& text, std::string_view start,
                                  std::string_view stopDelimiter, bool ignoreCase,
                                  const Yield& whilePerforming);

}  // namespace siftwell
