#include "index/IndexSizes.h"

#include "base/Files.h"

namespace siftwell {

namespace {

std::uint64_t bytesOf(const OpenIndex& index) {
    std::uint64_t bytes = 0;
    std::vector<std::string> paths = PropertyRecordFile::pathsOf(OpenIndex::sideFileOf(index.path));
    paths.push_back(index.path);
    for (const std::string& path : paths) {
        if (const auto info = fileInfo(path)) bytes += info->bytes;
    }
    return bytes;
}

}  // namespace

std::vector<IndexSize> sizesOf(const IndexSet::List& indexes) {
    std::vector<IndexSize> sizes;
    for (const SKIndex& index : indexes) {
        sizes.push_back({index->name, index->index->documentCount(), bytesOf(*index)});
    }
    return sizes;
}

IndexSize sumOf(const std::vector<IndexSize>& sizes) {
    IndexSize sum;
    for (const IndexSize& size : sizes) {
        sum.documents += size.documents;
        sum.bytes += size.bytes;
    }
    return sum;
}

}  // namespace siftwell
