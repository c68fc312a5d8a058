// Merging: keeping the number of segments small.
//
// Segments are merged with their neighbours of the same size class, twenty at a time, so that each
// document is written again once for every twentyfold growth of the index.
//
// Threads: any; one merge at a time for each index. Adding, flushing and searching go on meanwhile.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "base/Status.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

inline constexpr std::size_t kMergeFanIn = 20;
// Segments of this size and above stay as they are until a compaction.
inline constexpr std::uint64_t kMaxMergedBytes = std::uint64_t{256} << 20;

// The segments to merge next: positions in the list of their sizes in bytes.
struct MergeRange {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool operator==(const MergeRange&) const = default;
};
std::optional<MergeRange> chooseMerge(std::span<const std::uint64_t> segmentBytes);

// Merges until nothing is left to do, or only while the segments of a merge are at most so large.
// The merged segments are part of the next commit.
Status mergeSegmentsOf(IndexCore& index, std::uint64_t maxInputBytes = UINT64_MAX);

}  // namespace siftwell::fulltext
