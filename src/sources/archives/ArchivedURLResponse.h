// ArchivedURLResponse: the head of a server's answer, from an archive.
//
// Threads: pure functions. Errors: what cannot be read is none.
#pragma once

#include <optional>

#include "base/PropertyList.h"
#include "records/URLRequest.h"
#include "sources/archives/ObjectArchive.h"

namespace siftwell {

// An NSURLResponse. Systems have archived different lists of values under this name, so they are
// known by what they are: the first address, the header fields with the status in front of them and
// the length behind, else the type with the length and the encoding behind it.
std::optional<URLResponse> responseIn(const ObjectArchive& archive, const ArchivedValue& value);

// The texts in a dictionary of header fields.
HeaderFields headerFieldsIn(const PropertyList::Dictionary& dictionary);

}  // namespace siftwell
