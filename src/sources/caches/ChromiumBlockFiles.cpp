#include "sources/caches/ChromiumBlockFiles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "sources/StoredNumbers.h"
#include "sources/caches/BrowserCache.h"
#include "sources/caches/CachedResponse.h"
#include "sources/caches/ChromiumResponse.h"

namespace siftwell {

namespace {

constexpr std::uint32_t kIndexMagic = 0xC103CAC3;
constexpr std::uint32_t kBlockFileMagic = 0xC104CAC3;
constexpr std::uint64_t kIndexHeadBytes = 368;
constexpr std::uint64_t kBlockFileHeadBytes = 8192;
constexpr std::uint32_t kUsualBuckets = 0x10000;
constexpr std::uint32_t kMostBuckets = 1 << 20;  // of the largest cache
constexpr std::uint64_t kRankingsBytes = 36;

// The bits of an address: whether it is one; which kind of file; then the number of a file, or how
// many blocks, the number of their file, and which is the first.
constexpr std::uint32_t kIsUsed = 0x80000000;
std::uint32_t kindOf(std::uint32_t address) { return address >> 28 & 7; }
std::uint32_t fileNumberOf(std::uint32_t address) { return address & 0x0FFFFFFF; }
std::uint32_t blockCountOf(std::uint32_t address) { return (address >> 24 & 3) + 1; }
std::uint32_t blockFileOf(std::uint32_t address) { return address >> 16 & 0xFF; }
std::uint32_t firstBlockOf(std::uint32_t address) { return address & 0xFFFF; }

constexpr std::uint32_t kFileOfItsOwn = 0;
constexpr std::uint32_t kRankings = 1;
constexpr std::uint32_t kEntries = 2;
constexpr std::array<std::uint32_t, 5> kBlockBytes = {0, kRankingsBytes, 256, 1024, 4096};

bool isOfKind(std::uint32_t address, std::uint32_t kind) {
    return (address & kIsUsed) != 0 && kindOf(address) == kind;
}

}  // namespace

// What the blocks of an entry begin with; its key follows, unless that is very long.
struct ChromiumBlockFiles::Store {
    static constexpr std::size_t kKeyAt = 96;

    explicit Store(std::string blocks) : bytes(std::move(blocks)) {}

    std::uint32_t word(std::size_t index) const {
        return littleEndianAt<std::uint32_t>(bytes, index * 4).value_or(0);
    }
    Address next() const { return word(1); }
    Address rankings() const { return word(2); }
    bool isNormal() const { return word(5) == 0 && word(18) == 0; }  // and not kept in parts
    std::int64_t created() const { return littleEndianAt<std::int64_t>(bytes, 24).value_or(0); }
    std::uint32_t keyBytes() const { return word(8); }
    Address longKey() const { return word(9); }
    std::uint32_t streamBytes(std::size_t stream) const { return word(10 + stream); }
    Address streamAddress(std::size_t stream) const { return word(14 + stream); }

    std::string bytes;
};

const ByteSource* ChromiumBlockFiles::blockFile(std::uint32_t number, std::uint32_t blockBytes) {
    auto found = m_blockFiles.find(number);
    if (found == m_blockFiles.end()) {
        auto file = m_openFile("data_" + std::to_string(number));
        const auto head = file != nullptr ? file->read(0, 16) : std::nullopt;
        const bool isSound = head && littleEndianAt<std::uint32_t>(*head, 0) == kBlockFileMagic &&
                             littleEndianAt<std::uint32_t>(*head, 12) == blockBytes;
        if (!isSound) file = nullptr;
        found = m_blockFiles.emplace(number, std::move(file)).first;
    }
    return found->second.get();
}

std::optional<std::string> ChromiumBlockFiles::blocksAt(Address address, std::uint64_t length) {
    if ((address & kIsUsed) == 0 || kindOf(address) >= kBlockBytes.size()) return std::nullopt;
    const std::uint32_t blockBytes = kBlockBytes[kindOf(address)];
    if (length > std::uint64_t{blockBytes} * blockCountOf(address)) return std::nullopt;
    const ByteSource* const file = blockFile(blockFileOf(address), blockBytes);
    if (file == nullptr) return std::nullopt;
    return file->read(kBlockFileHeadBytes + std::uint64_t{blockBytes} * firstBlockOf(address),
                      length);
}

std::optional<std::string> ChromiumBlockFiles::streamAt(Address address, std::uint64_t length) {
    if (length == 0) return std::string();
    if (!isOfKind(address, kFileOfItsOwn)) return blocksAt(address, length);
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "f_%06x", fileNumberOf(address));
    const auto file = m_openFile(name.data());
    return file != nullptr ? file->read(0, length) : std::nullopt;
}

std::optional<ChromiumBlockFiles::Store> ChromiumBlockFiles::storeAt(Address address) {
    if (!isOfKind(address, kEntries)) return std::nullopt;
    auto bytes = blocksAt(address, std::uint64_t{kBlockBytes[kEntries]} * blockCountOf(address));
    if (!bytes) return std::nullopt;
    return Store(*std::move(bytes));
}

std::optional<std::string> ChromiumBlockFiles::keyOf(const Store& store) {
    if (store.keyBytes() > kMaxChromiumKeyBytes) return std::nullopt;
    if ((store.longKey() & kIsUsed) != 0) return streamAt(store.longKey(), store.keyBytes());
    if (store.keyBytes() > store.bytes.size() - Store::kKeyAt) return std::nullopt;
    return store.bytes.substr(Store::kKeyAt, store.keyBytes());
}

// As long as an entry is open in the browser, what is kept of when it was used tells so.
Date ChromiumBlockFiles::lastUsed(Address entry, const Store& store, bool& isOpen) {
    const Date created = chromiumDate(store.created());
    const auto node = isOfKind(store.rankings(), kRankings)
                          ? blocksAt(store.rankings(), kRankingsBytes)
                          : std::nullopt;
    if (!node || littleEndianAt<std::uint32_t>(*node, 24) != entry) return created;
    isOpen = littleEndianAt<std::uint32_t>(*node, 28) != 0U;
    return std::max({created, chromiumDate(*littleEndianAt<std::int64_t>(*node, 0)),
                     chromiumDate(*littleEndianAt<std::int64_t>(*node, 8))});
}

// One for each bucket that is in use; the others of a bucket follow from it.
StatusCode ChromiumBlockFiles::findFirstEntries(std::vector<Address>& addresses) {
    const auto file = m_openFile("index");
    const auto head = file != nullptr ? file->read(0, kIndexHeadBytes) : std::nullopt;
    if (!head || littleEndianAt<std::uint32_t>(*head, 0) != kIndexMagic) return StatusCode::Damaged;
    const std::uint32_t version = *littleEndianAt<std::uint32_t>(*head, 4) >> 16;
    if (version < 2 || version > 3) return StatusCode::UnknownVersion;
    const std::uint32_t stored = *littleEndianAt<std::uint32_t>(*head, 28);
    const std::uint32_t buckets = stored == 0 ? kUsualBuckets : stored;
    if (buckets > kMostBuckets) return StatusCode::Damaged;
    const auto table = file->read(kIndexHeadBytes, std::uint64_t{buckets} * 4);
    if (!table) return StatusCode::Damaged;
    for (std::size_t i = 0; i < buckets; ++i) {
        const Address address = *littleEndianAt<Address>(*table, i * 4);
        if (isOfKind(address, kEntries)) addresses.push_back(address);
    }
    return StatusCode::Ok;
}

// Those that follow an entry which cannot be read are lost with it.
StatusCode ChromiumBlockFiles::followEntries(Address address, std::unordered_set<Address>& seen,
                                             std::vector<Entry>& entries) {
    while ((address & kIsUsed) != 0 && seen.insert(address).second) {
        if (seen.size() > BrowserCache::kMaxEntries) return StatusCode::TooLarge;
        const auto store = storeAt(address);
        if (!store) return StatusCode::Damaged;
        bool isOpen = false;
        if (store->isNormal()) entries.push_back({address, lastUsed(address, *store, isOpen)});
        address = store->next();
    }
    return StatusCode::Ok;
}

ChromiumBlockFiles::Listing ChromiumBlockFiles::entries() {
    std::vector<Address> first;
    Listing listing{.entries = {}, .code = findFirstEntries(first)};
    std::unordered_set<Address> seen;
    for (const Address address : first) {
        const StatusCode code = followEntries(address, seen, listing.entries);
        if (code != StatusCode::Ok) listing.code = code;
        if (code == StatusCode::TooLarge) break;
    }
    std::sort(listing.entries.begin(), listing.entries.end(),
              [](const Entry& a, const Entry& b) { return a.address < b.address; });
    return listing;
}

std::optional<CachedPage> ChromiumBlockFiles::page(Address address) {
    const auto store = storeAt(address);
    if (!store || !store->isNormal()) return std::nullopt;
    if (store->streamBytes(0) > kMaxChromiumHeadBytes) return std::nullopt;
    const auto key = keyOf(*store);
    const auto url = key ? addressInChromiumKey(*key) : std::nullopt;
    const auto head = url ? streamAt(store->streamAddress(0), store->streamBytes(0)) : std::nullopt;
    auto stored = head ? readChromiumResponse(*head) : std::nullopt;
    if (!stored) return std::nullopt;
    bool isOpen = false;
    const Date used = std::max(stored->received, lastUsed(address, *store, isOpen));
    const CachedResponse response = {.url = std::string(*url),
                                     .head = std::move(stored->head),
                                     .bodyBytes = store->streamBytes(1),
                                     .lastUsed = used};
    // The browser may still be writing what does not say how long it is.
    const bool mayGrow = isOpen && !response.head.contentLength();
    if (mayGrow || !response.isPage()) return std::nullopt;
    auto body = streamAt(store->streamAddress(1), response.bodyBytes);
    return body ? response.pageWith(*std::move(body)) : std::nullopt;
}

}  // namespace siftwell
