// CheckedBytes: mapped bytes that are compared with their checksums when they are first touched.
//
// The bytes are divided into blocks of 32 KiB with a CRC-32C each. Opening a large segment so costs
// nothing, and no byte is believed before it was checked once.
//
// Threads: any; two that touch a block at the same time both check it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace siftwell::fulltext {

inline constexpr std::size_t kCheckedBlockSize = 32 << 10;

constexpr std::uint64_t checkedBlockCount(std::uint64_t bytes) {
    return (bytes + kCheckedBlockSize - 1) / kCheckedBlockSize;
}

class CheckedBytes {
public:
    CheckedBytes() = default;
    // `checksums` holds one u32 for each block. Borrows both.
    CheckedBytes(std::string_view bytes, std::string_view checksums);

    std::uint64_t size() const { return m_bytes.size(); }

    // Brings what lies there on its way into the cache.
    void prefetch(std::uint64_t offset) const { __builtin_prefetch(m_bytes.data() + offset); }

    // None when the range lies outside or a block of it is damaged.
    std::optional<std::string_view> range(std::uint64_t offset, std::uint64_t size) const;

private:
    bool isBlockRight(std::uint64_t block) const;
    bool checkBlock(std::uint64_t block) const;

    std::string_view m_bytes;
    std::string_view m_checksums;
    std::unique_ptr<std::atomic<std::uint64_t>[]> m_checked;  // one bit for each block
};

}  // namespace siftwell::fulltext
