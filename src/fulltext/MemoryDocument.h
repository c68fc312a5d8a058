// MemoryDocument: a document that stands in no segment yet.
//
// Threads: immutable; shared by the index and the searches that saw it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "fulltext/InvertedText.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

struct MemoryDocument {
    DocumentID id = 0;
    DocumentKey key;
    std::uint64_t keyHash = 0;
    std::uint64_t place = 0;  // offset of its record
    std::size_t recordBytes = 0;
    std::size_t textBytes = 0;  // of the readable text
    std::shared_ptr<const InvertedText> text;
};

// In rising order; a document that was removed meanwhile is null.
using MemoryDocuments = std::vector<std::shared_ptr<const MemoryDocument>>;

}  // namespace siftwell::fulltext
