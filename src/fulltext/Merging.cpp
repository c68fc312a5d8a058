#include "fulltext/Merging.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "fulltext/Flushing.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kSmallestClass = 64 << 10;

// Sizes within a factor of sixteen of each other fall into the same class, more or less.
int sizeClass(std::uint64_t bytes) {
    return static_cast<int>(std::bit_width(bytes / kSmallestClass) + 3) / 4;
}

std::vector<std::uint64_t> sizesOf(const std::vector<LiveSegment>& segments) {
    std::vector<std::uint64_t> sizes;
    for (const LiveSegment& live : segments) {
        // A segment that has lost documents counts for what it will be.
        const std::uint64_t documents = std::max<std::uint32_t>(live.segment->documents(), 1);
        sizes.push_back(live.segment->place().size * live.liveDocuments() / documents);
    }
    return sizes;
}

Status noteUnlessGivenUp(IndexCore& index, const Status& status) {
    return status.code() == StatusCode::Busy ? status : index.noteWrite(status);
}

Status mergeOnce(IndexCore& index, const std::vector<LiveSegment>& inputs) {
    Spool payload(index.storage, index.path);
    const Result<std::string> header = mergeSegments(
        inputs, [](const SegmentDocument& document) { return document.place; }, payload,
        index.untilClosing());
    if (!header) return header.status();
    std::shared_ptr<const Segment> merged;
    if (!header->empty()) {
        auto placed = placeSegment(index, payload, *header, index.untilClosing());
        if (!placed) return noteUnlessGivenUp(index, placed.status());
        merged = *std::move(placed);
    }
    MutexLock lock(index.mutex);
    index.contents.replaceSegments(inputs, merged);
    return {};
}

std::optional<std::vector<LiveSegment>> nextInputs(IndexCore& index, std::uint64_t maxInputBytes) {
    std::vector<LiveSegment> segments;
    {
        MutexLock lock(index.mutex);
        if (!index.writeError.isOk()) return std::nullopt;
        segments = index.contents.committed().segments;
    }
    const std::vector<std::uint64_t> sizes = sizesOf(segments);
    const auto range = chooseMerge(sizes);
    if (!range) return std::nullopt;
    const auto begin = segments.begin() + static_cast<std::ptrdiff_t>(range->begin);
    const auto end = segments.begin() + static_cast<std::ptrdiff_t>(range->end);
    const auto bytes =
        std::accumulate(sizes.begin() + static_cast<std::ptrdiff_t>(range->begin),
                        sizes.begin() + static_cast<std::ptrdiff_t>(range->end), std::uint64_t{0});
    if (bytes > maxInputBytes) return std::nullopt;
    return std::vector<LiveSegment>(begin, end);
}

}  // namespace

// The newest run of neighbours in one class or below: older segments are larger, so that a run
// begins where a larger class ends. Half as many are enough when one more would make them too
// large.
std::optional<MergeRange> chooseMerge(std::span<const std::uint64_t> segmentBytes) {
    for (int limit = 0; limit <= sizeClass(kMaxMergedBytes); ++limit) {
        std::size_t begin = segmentBytes.size();
        std::uint64_t bytes = 0;
        while (begin > 0 && sizeClass(segmentBytes[begin - 1]) <= limit &&
               bytes + segmentBytes[begin - 1] <= kMaxMergedBytes) {
            bytes += segmentBytes[--begin];
        }
        const bool isFull = begin > 0 && sizeClass(segmentBytes[begin - 1]) <= limit;
        if (segmentBytes.size() - begin >= (isFull ? kMergeFanIn / 2 : kMergeFanIn)) {
            return MergeRange{begin, segmentBytes.size()};
        }
    }
    return std::nullopt;
}

Status mergeSegmentsOf(IndexCore& index, std::uint64_t maxInputBytes) {
    const GateHold hold(index.merging);
    while (!index.isClosing.load(std::memory_order_relaxed)) {
        const auto inputs = nextInputs(index, maxInputBytes);
        if (!inputs) return index.currentWriteError();
        if (Status status = mergeOnce(index, *inputs); !status.isOk()) return status;
    }
    return {};
}

}  // namespace siftwell::fulltext
