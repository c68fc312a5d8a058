// What the list of documents is made of: rows of a few bytes, in an order, for a query.
//
// Threads: values; a list is never changed once it was handed over.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "index/IndexSizes.h"
#include "index/OpenIndex.h"

namespace siftwell {

// Twelve bytes, since a million of them are held. What else there is to a document is read when it
// comes into sight.
struct DocumentRow {
    std::int32_t date = 0;  // seconds since 2001; what is farther away stands at the end of that
    fulltext::DocumentID document = 0;
    std::uint16_t index = 0;  // a position in DocumentList::indexes

    bool operator==(const DocumentRow&) const = default;
};

enum class DocumentOrder { Address, Date, Source };  // as the columns of the list

struct DocumentQuery {
    std::optional<std::string> source;  // all without one
    std::string filter;                 // words, each of which is to be in the address
    DocumentOrder order = DocumentOrder::Date;
    bool isDescending = true;
    std::int32_t startOfWeek = 0;  // of the present one, as the dates of rows

    bool operator==(const DocumentQuery&) const = default;
};

inline constexpr std::size_t kWeeks = 52;

struct DocumentList {
    std::vector<SKIndex> indexes;  // null for one that is gone
    std::vector<DocumentRow> rows;
    std::array<std::uint32_t, kWeeks> weeks{};  // rows of each week, the present one first
    std::vector<IndexSize> sizes;               // of all indexes
    bool isComplete = false;                    // more is to come otherwise
};

using DocumentListPointer = std::shared_ptr<const DocumentList>;

}  // namespace siftwell
