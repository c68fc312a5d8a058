// Checking a whole index file.
#pragma once

#include "base/Status.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

// Reads every segment and every live document of the index and compares them with their checksums
// and with each other. What was not flushed is not looked at.
Status checkIndex(IndexCore& index);

}  // namespace siftwell::fulltext
