// Opening: from a file to the state of an index.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/Status.h"
#include "fulltext/Index.h"
#include "fulltext/IndexCore.h"

namespace siftwell::fulltext {

// Makes the file an index without documents, and durable. The first commit bears the generation.
Status writeNewIndex(StorageFile& file, const FileIdentity& identity, const IndexSettings& settings,
                     std::uint64_t generation = 1);

// The file that bears the name, locked: compaction may exchange it between opening and locking.
Result<std::unique_ptr<StorageFile>> openLocked(Storage& storage, const std::string& path);

// As Index::open() says. A file that is to be written was locked by the caller.
Result<std::shared_ptr<IndexCore>> openCore(std::unique_ptr<StorageFile> file,
                                            const std::optional<std::string>& internalName,
                                            Index::Access access,
                                            const Index::Surroundings& surroundings);

}  // namespace siftwell::fulltext
