// Recovery: finding what an index file holds when it is opened.
//
// The newest commit counts when everything that was written since the durable one is there and
// right; otherwise the durable one, unless a newer durable one may be missing: then the file is
// damaged. Nothing in the file is changed.
#pragma once

#include <memory>

#include "base/Status.h"
#include "fulltext/Contents.h"
#include "fulltext/Header.h"
#include "fulltext/Storage.h"
#include "fulltext/TermFilter.h"

namespace siftwell::fulltext {

struct Recovered {
    Contents::Opened contents;
    Root root;               // of the commit that counts
    bool isDurable = false;  // it was synced
};

Result<Recovered> recover(const std::shared_ptr<const StorageFile>& file, const Header& header,
                          const TermFilter& filter);

// What stands in the settings record.
std::string serializeSettings(const IndexSettings& settings);
Result<IndexSettings> readSettings(const StorageFile& file, std::uint64_t offset);

}  // namespace siftwell::fulltext
