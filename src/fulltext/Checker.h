// Checking a whole index file.
#pragma once

#include <string>

#include "fulltext/Findings.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

// Reads the roots, every segment and every live document of the index, and compares them with their
// checksums and with each other; goes on behind what is damaged. What was not flushed is not looked
// at. Stops when it has found enough.
Findings checkIndex(IndexCore& index, std::uint64_t enough = UINT64_MAX);

}  // namespace siftwell::fulltext
