// Salvage: the addresses in the bytes of an index file, whatever is damaged in it.
//
// Where a repair brings back the documents whose records are whole, this finds every address that
// is, though the text behind it or the record's front may be gone: the scheme is looked for at
// every place of the file, as it stands in document records.
//
// Threads: any. Errors: input is hostile; what is no address is passed over. Time: linear.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "base/Url.h"
#include "fulltext/Storage.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

// Called with each address and with the place where its document's record would begin; false ends
// the search.
using TakeAddress = std::function<bool(Url url, std::int64_t record)>;

// The addresses with the scheme, in the order in which they stand. A name is taken as it stands:
// one that was shortened comes back shortened. An empty name is passed over.
void addressesInBytes(std::string_view bytes, std::string_view scheme, const TakeAddress& take,
                      const PaceCallback& pace = {});

// The same for a file: each address once, and none of a document of which the file still tells that
// it was removed. `take` answers false to end it. Memory: 40 bytes for each document.
Status salvageAddresses(const std::string& path, std::string_view scheme, Storage& storage,
                        const std::function<bool(Url url)>& take, const PaceCallback& pace);

}  // namespace siftwell::fulltext
