// Folding: the one form in which a word is indexed and asked for.
//
// Case is folded, compatibility forms are resolved, and accents and vowel points are removed, so
// that cafe, Café and CAFÉ are the same. Marks that make another letter (the voicing of kana, Indic
// vowel signs, Thai tones) are kept: without them different words would become one.
//
// Threads: any. Cost: one table look-up per character for most scripts; whole words go through ICU
// where characters join with their neighbours.
#pragma once

#include <string>
#include <string_view>

namespace siftwell {

// Appends the folded form of one word; it may come out empty. Malformed bytes are dropped.
void appendFolded(std::string& result, std::string_view word);

std::string folded(std::string_view word);

}  // namespace siftwell
