// The header page of an index file: what it is, and which commit counts.
//
// Two pairs of root slots follow the fixed part. A slot is written only after the commit it names;
// the slots of a pair are written in turn, so that a torn write leaves the other one. Nobody
// searches the file for commits, and no page's bytes can pass for one.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/Storage.h"

namespace siftwell::fulltext {

inline constexpr std::uint32_t kFormatVersion = 2;
inline constexpr std::size_t kHeaderPageSize = 4096;

using FileIdentity =
    std::array<std::uint8_t, 16>;  // random, made with the index, kept for its life

struct Root {
    std::uint64_t generation = 0;  // of the commit; rises with every commit
    std::uint64_t commit = 0;      // offset of its record
    std::uint64_t end = 0;         // everything the commit needs lies below

    bool operator==(const Root&) const = default;
};

enum class RootPair : std::uint8_t {
    Durable = 0,  // synced before the slot was written
    Latest = 1,   // written, perhaps not on the disk yet
};

struct Header {
    FileIdentity identity{};
    std::uint64_t settings = 0;  // offset of the settings record
    std::optional<Root> durable;
    std::optional<Root> latest;
    std::uint64_t highestGeneration = 0;  // of any slot; the next commit goes above it
    std::array<int, 2> newestSlot{};      // of each pair: 0 or 1
    bool isDurableSlotBroken = false;     // the one that is missing was durable
    bool isLatestSlotBroken = false;
};

FileIdentity newFileIdentity();

std::string headerPage(const FileIdentity& identity, std::uint64_t settings);

// The slots of a pair. Of two, one may be torn.
struct RootSlots {
    std::uint64_t offset = 0;  // of the first one
    std::vector<Root> roots;   // the whole ones, the newest first
    int broken = 0;            // slots that hold something else
};
RootSlots rootSlots(std::string_view page, RootPair pair);

// What lost power cannot have done to the roots. It may break the latest ones, which are written
// without waiting for the disk, or a durable one, but never of both pairs at once.
struct DamagedRoots {
    std::uint64_t offset = 0;
    std::string what;  // translated
};
std::optional<DamagedRoots> damagedRoots(std::string_view page);

// UnknownVersion when the page says that another version wrote it, and that is no damage.
Status checkVersion(const StorageFile& file, std::string_view page);

// The fixed part of a header page, also when only what bears no meaning for one index is damaged:
// none when its checksum is wrong.
struct FixedHeader {
    FileIdentity identity{};
    std::uint64_t settings = 0;
};
std::optional<FixedHeader> fixedHeader(std::string_view page);

// NotFound for a file that is no index, UnknownVersion for one of a newer program.
Result<Header> readHeader(const StorageFile& file);

// RootWriter writes root slots, never over the newest one of a pair.
//
// Threads: one at a time.
class RootWriter {
public:
    explicit RootWriter(const std::array<int, 2>& newestSlot = {}) : m_newestSlot(newestSlot) {}

    Status write(StorageFile& file, RootPair pair, const Root& root);

private:
    std::array<int, 2> m_newestSlot;
};

}  // namespace siftwell::fulltext
