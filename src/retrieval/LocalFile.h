// Reading a local file as a page.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <string>

#include "base/Status.h"
#include "index/Admission.h"
#include "index/ContentParsing.h"

namespace siftwell {

// A file of any size is read, but only so much of it becomes text: it would not fit into memory.
inline constexpr std::size_t kMaxFileBytes = std::size_t{256} << 20;

// The front of the file, which is nearly always the whole.
Result<std::string> readLocalFile(const std::string& path);

// The file's text, address and modification date; source and indexer are left to the caller. The
// text is empty when the file cannot be read as text, or holds neither markup nor a type that is
// read whatever it holds: of such a file only the front is looked at. A file that needs a content
// extractor is not read here.
Result<PageContent> loadLocalFile(const std::string& path, const Admission& admission);

}  // namespace siftwell
