// TermGrams: a filter that tells in which parts of a segment's sorted terms a fragment may stand.
//
// Terms are divided into chunks of 64, and 64 chunks make a page. A page has a row for each value
// of a hash; in the row of a term's every three bytes in sequence (the 0 byte behind it counts),
// the bit of its chunk is set. A chunk in whose rows for a fragment some bit is missing does not
// have it; the others are looked through.
//
// A segment with few terms has no filter: looking through them all is as fast.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fulltext/SegmentFormat.h"

namespace siftwell::fulltext {

inline constexpr std::size_t kTermsPerGramPage = kTermsPerSample * 64;
// With fewer terms than this there is no filter.
inline constexpr std::size_t kFewestGramTerms = std::size_t{1} << 16;
inline constexpr std::size_t kGramRows = 2048;
inline constexpr std::size_t kGramPageSize = kGramRows * sizeof(std::uint64_t);

// The filter for terms that stand one after another with a 0 byte behind each; empty for few.
std::string termGrams(std::string_view termBytes, std::uint32_t terms);

// Which chunks, by their numbers, may hold the pattern; a 0 byte at its end stands for the end of a
// term. All when it has fewer than three bytes, or there is no filter.
std::vector<std::uint32_t> chunksWith(std::string_view grams, std::uint32_t terms,
                                      std::string_view pattern);

}  // namespace siftwell::fulltext
