#include "fulltext/Header.h"

#include <algorithm>
#include <random>

#include "base/Translate.h"
#include "fulltext/Bytes.h"
#include "fulltext/Checksum.h"
#include "fulltext/Record.h"

namespace siftwell::fulltext {

namespace {

constexpr std::string_view kMagic = "SIFTWELL";
constexpr std::uint64_t kFirstSlot = 1024;
constexpr std::uint64_t kSlotDistance = 512;  // a sector each
constexpr std::size_t kSlotSize = 28;

std::uint64_t slotOffset(RootPair pair, int slot) {
    const auto index = static_cast<std::uint64_t>(pair) * 2 + static_cast<std::uint64_t>(slot);
    return kFirstSlot + index * kSlotDistance;
}

std::optional<Root> parseSlot(std::string_view slot) {
    ByteReader reader(slot);
    Root root;
    root.generation = reader.number<std::uint64_t>();
    root.commit = reader.number<std::uint64_t>();
    root.end = reader.number<std::uint64_t>();
    const auto checksum = reader.number<std::uint32_t>();
    constexpr std::uint64_t kMaxGeneration = std::uint64_t{1} << 63;  // others come above it
    if (root.generation == 0 || root.generation > kMaxGeneration ||
        checksum != crc32c(slot.substr(0, kSlotSize - 4))) {
        return std::nullopt;
    }
    return root;
}

constexpr std::size_t kVersionOffset = kMagic.size();
constexpr std::size_t kIdentityOffset = kVersionOffset + sizeof(kFormatVersion);
constexpr std::size_t kFixedSize = kIdentityOffset + sizeof(FileIdentity) + sizeof(std::uint64_t);

Status otherVersion(const StorageFile& file, std::uint32_t version) {
    return {StatusCode::UnknownVersion,
            filledIn(_("The index %@ was written by another version of Siftwell (format %d). "
                       "It was left as it is; please use the newer version."),
                     file.path(), std::int64_t{version})};
}

std::optional<Root> newestRoot(std::string_view page, RootPair pair, int& newestSlot) {
    std::optional<Root> newest;
    for (int slot = 0; slot < 2; ++slot) {
        const auto root = parseSlot(page.substr(slotOffset(pair, slot), kSlotSize));
        if (!root || (newest && newest->generation > root->generation)) continue;
        newest = root;
        newestSlot = slot;
    }
    return newest;
}

}  // namespace

FileIdentity newFileIdentity() {
    std::random_device random;
    FileIdentity identity{};
    for (std::uint8_t& byte : identity) byte = static_cast<std::uint8_t>(random());
    return identity;
}

std::string headerPage(const FileIdentity& identity, std::uint64_t settings) {
    std::string page(kMagic);
    appendNumber(page, kFormatVersion);
    page += asView(identity.data(), identity.size());
    appendNumber(page, settings);
    appendNumber(page, crc32c(page));
    page.resize(kHeaderPageSize);
    return page;
}

RootSlots rootSlots(std::string_view page, RootPair pair) {
    RootSlots slots{.offset = slotOffset(pair, 0), .roots = {}};
    for (int slot = 0; slot < 2; ++slot) {
        const std::string_view bytes = page.substr(slotOffset(pair, slot), kSlotSize);
        if (const auto root = parseSlot(bytes)) {
            slots.roots.push_back(*root);
        } else if (bytes.find_first_not_of('\0') != std::string_view::npos) {
            ++slots.broken;
        }
    }
    std::sort(slots.roots.begin(), slots.roots.end(),
              [](const Root& a, const Root& b) { return a.generation > b.generation; });
    return slots;
}

std::optional<DamagedRoots> damagedRoots(std::string_view page) {
    const RootSlots durable = rootSlots(page, RootPair::Durable);
    const RootSlots latest = rootSlots(page, RootPair::Latest);
    if (durable.roots.empty()) return DamagedRoots{durable.offset, _("none of them is whole")};
    if (durable.broken > 0 && latest.broken > 0) {
        return DamagedRoots{durable.offset, _("the newest ones may be damaged")};
    }
    return std::nullopt;
}

std::optional<FixedHeader> fixedHeader(std::string_view page) {
    std::string fixed(kMagic);
    appendNumber(fixed, kFormatVersion);
    fixed += page.substr(kIdentityOffset, kFixedSize - kIdentityOffset);
    if (loadNumber<std::uint32_t>(page.data() + kFixedSize) != crc32c(fixed)) return std::nullopt;
    ByteReader reader(page.substr(kIdentityOffset));
    FixedHeader header;
    const std::string_view identity = reader.bytes(header.identity.size());
    std::copy(identity.begin(), identity.end(), header.identity.begin());
    header.settings = reader.number<std::uint64_t>();
    return header;
}

// An impossible version with the checksum of this one is damage.
Status checkVersion(const StorageFile& file, std::string_view page) {
    constexpr std::uint32_t kHighestPossible = 255;
    const auto version = loadNumber<std::uint32_t>(page.data() + kVersionOffset);
    if (!page.starts_with(kMagic) || version == kFormatVersion) return {};
    const bool isPossible = version > kFormatVersion && version <= kHighestPossible;
    return isPossible || !fixedHeader(page) ? otherVersion(file, version) : Status();
}

Result<Header> readHeader(const StorageFile& file) {
    const Result<std::string> magic = file.readAt(0, kMagic.size());
    if (!magic || *magic != kMagic) {
        return Status(StatusCode::NotFound,
                      filledIn(_("%@ is no index of Siftwell."), file.path()));
    }
    const Result<std::string> page = file.readAt(0, kHeaderPageSize);
    if (!page) return page.status();
    ByteReader reader(*page);
    reader.bytes(kMagic.size());
    if (const auto version = reader.number<std::uint32_t>(); version != kFormatVersion) {
        return otherVersion(file, version);
    }
    Header header;
    const std::string_view identity = reader.bytes(header.identity.size());
    std::copy(identity.begin(), identity.end(), header.identity.begin());
    header.settings = reader.number<std::uint64_t>();
    const std::size_t covered = page->size() - reader.remaining();
    if (reader.number<std::uint32_t>() != crc32c(std::string_view(*page).substr(0, covered))) {
        return damagedFile(file, "the header's checksum is wrong");
    }
    header.durable = newestRoot(*page, RootPair::Durable, header.newestSlot[0]);
    header.latest = newestRoot(*page, RootPair::Latest, header.newestSlot[1]);
    header.isDurableSlotBroken = rootSlots(*page, RootPair::Durable).broken > 0;
    header.isLatestSlotBroken = rootSlots(*page, RootPair::Latest).broken > 0;
    for (const auto& root : {header.durable, header.latest}) {
        if (root) header.highestGeneration = std::max(header.highestGeneration, root->generation);
    }
    return header;
}

Status RootWriter::write(StorageFile& file, RootPair pair, const Root& root) {
    std::string slot;
    appendNumber(slot, root.generation);
    appendNumber(slot, root.commit);
    appendNumber(slot, root.end);
    appendNumber(slot, crc32c(slot));
    int& newest = m_newestSlot[static_cast<std::size_t>(pair)];
    newest = 1 - newest;
    return file.writeAt(slotOffset(pair, newest), slot);
}

}  // namespace siftwell::fulltext
