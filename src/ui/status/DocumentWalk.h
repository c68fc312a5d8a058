// DocumentWalk: the documents of a query, read from the indexes piece by piece and kept in order.
//
// The newest of each index come first. Once all were read, another look reads what came since and
// drops what went. Twenty-eight bytes are held for each document; ordered by address, the addresses
// too.
//
// Threads: one at a time. Cost: a piece takes a few milliseconds, a list what sorting the new rows
// and merging them takes. Errors: a document without a record is left out.
#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "index/IndexSet.h"
#include "ui/status/AddressFilter.h"
#include "ui/status/DocumentRow.h"

namespace siftwell {

class DocumentWalk {
public:
    // Once `stop` is requested, what is still asked for may come out in any order.
    DocumentWalk(DocumentQuery query, std::stop_token stop);

    // Plans what there is to read.
    void look(const IndexSet::List& indexes);
    // Reads the next piece; false when there is none left.
    bool readPiece();
    // Whether so much is new that it is worth a list.
    bool isListDue() const;
    DocumentListPointer list();

private:
    struct Entry {
        DocumentRow row;
        std::uint32_t address = 0;  // where it begins in m_addresses
    };
    struct Source {
        SKIndex index;
        std::string name;
        fulltext::DocumentID last = 0;               // those up to it were read
        std::vector<fulltext::DocumentID> unread{};  // in rising order
    };

    bool isWanted(const OpenIndex& index) const;
    void forgetIndexesBeside(const IndexSet::List& indexes);
    void readFrom(std::uint16_t position);
    void take(std::uint16_t position, const RecordEntry& record);
    void dropRemoved();
    bool isBefore(const Entry& a, const Entry& b) const;
    int compare(const Entry& a, const Entry& b) const;
    void mergeNew();

    const DocumentQuery m_query;
    const AddressFilter m_filter;
    const std::stop_token m_stop;
    std::vector<Source> m_sources;
    std::vector<IndexSize> m_sizes;
    std::size_t m_next = 0;  // the source whose turn it is
    std::vector<Entry> m_entries;
    std::vector<Entry> m_new;  // not in m_entries yet
    std::string m_addresses;   // each ends with a zero
};

}  // namespace siftwell
