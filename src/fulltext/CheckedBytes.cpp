#include "fulltext/CheckedBytes.h"

#include "fulltext/Bytes.h"
#include "fulltext/Checksum.h"

namespace siftwell::fulltext {

CheckedBytes::CheckedBytes(std::string_view bytes, std::string_view checksums)
    : m_bytes(bytes),
      m_checksums(checksums),
      m_checked(new std::atomic<std::uint64_t>[checkedBlockCount(bytes.size()) / 64 + 1]()) {}

std::optional<std::string_view> CheckedBytes::range(std::uint64_t offset,
                                                    std::uint64_t size) const {
    if (offset > m_bytes.size() || size > m_bytes.size() - offset) return std::nullopt;
    if (size > 0) {
        const std::uint64_t last = (offset + size - 1) / kCheckedBlockSize;
        for (std::uint64_t block = offset / kCheckedBlockSize; block <= last; ++block) {
            if (!isBlockRight(block)) return std::nullopt;
        }
    }
    return m_bytes.substr(offset, size);
}

bool CheckedBytes::isBlockRight(std::uint64_t block) const {
    const std::uint64_t bit = std::uint64_t{1} << (block % 64);
    if ((m_checked[block / 64].load(std::memory_order_relaxed) & bit) != 0) return true;
    if (!checkBlock(block)) return false;
    m_checked[block / 64].fetch_or(bit, std::memory_order_relaxed);
    return true;
}

bool CheckedBytes::checkBlock(std::uint64_t block) const {
    const std::string_view bytes = m_bytes.substr(block * kCheckedBlockSize, kCheckedBlockSize);
    return loadNumber<std::uint32_t>(m_checksums.data() + block * sizeof(std::uint32_t)) ==
           crc32c(bytes);
}

}  // namespace siftwell::fulltext
