// The documents that engines are measured with: real pages, as the index store would hand them
// over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace siftwell::bench {

struct Document {
    std::string name;
    std::string readable;  // the page without its markup
    std::string words;     // what is indexed: small letters and digits, blanks between
};

struct Corpus {
    std::vector<Document> documents;
    std::uint64_t readableBytes = 0;
    std::uint64_t wordBytes = 0;
};

// The pages of SIFTWELL_BENCH_PAGES, at most `maxDocuments` of them, evenly taken; pages of its own
// without.
Corpus readCorpus(std::size_t maxDocuments);

}  // namespace siftwell::bench
