#include "sources/browsers/MozLz4.h"

#include <lz4.h>

#include "base/Translate.h"
#include "sources/StoredNumbers.h"

namespace siftwell {

namespace {

constexpr std::string_view kMagic("mozLz40\0", 8);
constexpr std::size_t kHeadBytes = 12;
// No byte of a block stands for more bytes than this, so that a small file cannot claim much
// memory.
constexpr std::size_t kMostExpansion = 255;

Status damaged() { return {StatusCode::Damaged, _("The packed file is damaged.")}; }

}  // namespace

bool isMozLz4(std::string_view bytes) { return bytes.starts_with(kMagic); }

Result<std::string> unpackMozLz4(std::string_view bytes) {
    if (!isMozLz4(bytes) || bytes.size() < kHeadBytes) return damaged();
    const std::size_t size = *littleEndianAt<std::uint32_t>(bytes, kMagic.size());
    const std::string_view block = bytes.substr(kHeadBytes);
    if (size > kMaxUnpackedBytes || block.size() > kMaxUnpackedBytes) {
        return Status(StatusCode::TooLarge, _("The packed file is too large."));
    }
    if (size / kMostExpansion > block.size()) return damaged();
    std::string unpacked(size, '\0');
    const int count = LZ4_decompress_safe(block.data(), unpacked.data(),
                                          static_cast<int>(block.size()), static_cast<int>(size));
    if (count < 0 || static_cast<std::size_t>(count) != size) return damaged();
    return unpacked;
}

}  // namespace siftwell
