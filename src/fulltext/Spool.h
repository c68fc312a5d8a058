// Spool: bytes gathered before their final place is known, in memory at first, then in a file
// without a name beside the index.
//
// Threads: one at a time. Errors: the first one is kept and returned by every later call.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/ByteBuffer.h"
#include "fulltext/Storage.h"
#include "fulltext/Types.h"

namespace siftwell::fulltext {

class Spool {
public:
    // `indexPath` tells where a file would be made.
    Spool(Storage& storage, std::string indexPath)
        : m_storage(storage), m_indexPath(std::move(indexPath)) {}

    Status append(std::string_view bytes);
    std::uint64_t size() const { return m_size; }

    // Writes everything to `file` at `offset`, in parts; Busy when it may not continue.
    Status copyTo(StorageFile& file, std::uint64_t offset, const ContinueCallback& mayContinue);

private:
    static constexpr std::size_t kPart = 1 << 20;
    static constexpr std::size_t kMaxParts = 16;  // in memory

    Status startPart();
    Status spill();

    Storage& m_storage;
    std::string m_indexPath;
    std::vector<ByteBuffer> m_parts;  // what is not in the file, full but for the last one
    std::unique_ptr<StorageFile> m_file;
    std::uint64_t m_written = 0;  // bytes in the file
    std::uint64_t m_size = 0;
    Status m_status;
};

}  // namespace siftwell::fulltext
