// Findings: what is damaged in an index file, part by part.
//
// Threads: values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/Storage.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

enum class DamagedPart { File, Header, Roots, Settings, Commit, Segment, Removals, Document };

struct Finding {
    DamagedPart part = DamagedPart::File;
    std::uint64_t offset = 0;  // of the part in the file
    // The document, or the first and the last one of the segment; 0 where that cannot be read.
    DocumentID first = 0;
    DocumentID last = 0;
    std::optional<DocumentKey> key;  // of the document, when it can be read
    std::string what;                // in a few words
};

// "document", "segment", …: fixed names for other programs.
std::string_view nameOf(DamagedPart part);

// "page 12 (http://example.org/), record at byte 4711: the checksum of a record is wrong".
std::string sentenceFor(const Finding& finding);

// As many findings as anybody may want to read, and how many more there are.
class Findings {
public:
    static constexpr std::size_t kMaxNamed = 1000;

    void add(Finding finding);
    void add(DamagedPart part, std::uint64_t offset, std::string what) {
        add({.part = part, .offset = offset, .key = std::nullopt, .what = std::move(what)});
    }

    bool isEmpty() const { return m_named.empty(); }
    std::uint64_t count() const { return m_named.size() + m_unnamed; }
    const std::vector<Finding>& named() const { return m_named; }
    std::uint64_t unnamed() const { return m_unnamed; }

private:
    std::vector<Finding> m_named;
    std::uint64_t m_unnamed = 0;
};

// What a status says beside naming the file.
std::string detailOf(const Status& status, const StorageFile& file);

}  // namespace siftwell::fulltext
