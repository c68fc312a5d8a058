// The words in which the full-text engine speaks to its users.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace siftwell::fulltext {

// A document's number inside one index: positive, rising in the order of adding, never given twice
// in one file, at most 2^31 - 1.
using DocumentID = std::uint32_t;
inline constexpr DocumentID kNoDocument = 0xFFFFFFFF;  // where an iterator has come to its end
inline constexpr DocumentID kFirstDocumentID = 1;
inline constexpr DocumentID kLastDocumentID = 0x7FFFFFFF;

// What makes two documents the same one. The scheme is ASCII, at most 255 characters; the name is
// any bytes.
struct DocumentKey {
    std::string scheme;
    std::string name;

    bool operator==(const DocumentKey&) const = default;
};

enum class DocumentState {
    NotIndexed,
    Pending,  // added since the last flush
    Indexed,
};

// What an index is made with; it is kept in the file.
struct IndexSettings {
    std::optional<std::string> internalName;
    std::uint32_t minimumTermLength = 1;  // in characters; shorter words are not indexed
    std::vector<std::string> stopWords;   // not indexed either; folded like every word
};

struct AddedDocument {
    DocumentID id = 0;
    std::optional<DocumentID> replaced;  // the number that the same key had before, now gone
};

struct Hit {
    DocumentID document = 0;
    float score = 0;  // BM25; above 0

    bool operator==(const Hit&) const = default;
};

// Best first; equal scores in the order of their numbers.
inline bool ranksBefore(const Hit& a, const Hit& b) {
    return a.score != b.score ? a.score > b.score : a.document < b.document;
}

// Called by long work between small steps: gives way to more urgent threads. May be empty.
using PaceCallback = std::function<void()>;

// Inside the engine: the same, and whether the work is to go on.
using ContinueCallback = std::function<bool()>;

}  // namespace siftwell::fulltext
