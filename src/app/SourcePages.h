// How many pages a source of a browser would bring, as far as one look at its file tells.
//
// Threads: any; may take a second or two. Errors: what cannot be read is not known.
#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>

#include "records/SearchItem.h"

namespace siftwell {

// Of the kinds that are kept in SQLite databases. The file is read as it lies there, so that what
// the browser has not written down yet is not counted; it is neither locked nor changed. Not known
// either once it is to stop.
std::optional<std::int64_t> pagesOfSource(const SearchItem& item, const std::stop_token& stop = {});

}  // namespace siftwell
