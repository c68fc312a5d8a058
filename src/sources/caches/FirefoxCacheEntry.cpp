#include "sources/caches/FirefoxCacheEntry.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

#include "sources/StoredNumbers.h"
#include "sources/caches/CachedResponse.h"

namespace siftwell {

namespace {

constexpr std::size_t kWord = 4;
constexpr std::uint64_t kChunk = 256 << 10;           // each has a checksum of two bytes
constexpr std::uint64_t kMaxMetadataBytes = 1 << 20;  // the browser itself allows 64 KiB
constexpr std::uint32_t kFirstVersionWithFlags = 2;
constexpr std::uint32_t kFirstVersionWithTwoWords = 4;
constexpr std::uint32_t kLastVersion = 4;

struct Parts {
    std::uint64_t bodyBytes = 0;
    std::string metadata;
};

// The last word is where the body ends. In newer files, which end with their version and that word,
// its highest bit says that they are encrypted; older ones have a zero byte before the word.
std::optional<Parts> partsOf(const ByteSource& file) {
    const std::uint64_t tail = std::min<std::uint64_t>(file.size(), 2 * kWord);
    const auto end = file.read(file.size() - tail, tail);
    if (!end || tail < 2 * kWord) return std::nullopt;
    const bool isTwoWords = bigEndianAt<std::uint32_t>(*end, 0) == kFirstVersionWithTwoWords;
    const std::uint64_t bodyBytes = *bigEndianAt<std::uint32_t>(*end, kWord);
    const std::uint64_t behind = isTwoWords ? 2 * kWord : kWord;
    if (bodyBytes > file.size() - behind) return std::nullopt;
    const std::uint64_t length = file.size() - behind - bodyBytes;
    if (length > kMaxMetadataBytes) return std::nullopt;
    auto metadata = file.read(bodyBytes, length);
    if (!metadata) return std::nullopt;
    return Parts{bodyBytes, *std::move(metadata)};
}

struct Header {
    std::uint32_t lastFetched = 0;  // seconds since 1970
    std::uint32_t lastModified = 0;
    std::string_view key;
    std::string_view elements;
};

std::optional<Header> headerIn(const Parts& parts) {
    const std::string_view metadata = parts.metadata;
    const std::size_t at = kWord + (parts.bodyBytes + kChunk - 1) / kChunk * 2;
    const auto word = [&](std::size_t index) {
        return bigEndianAt<std::uint32_t>(metadata, at + index * kWord);
    };
    const auto version = word(0);
    if (!version || *version == 0 || *version > kLastVersion) return std::nullopt;
    const auto keyLength = word(6);
    const std::size_t keyAt = at + (*version < kFirstVersionWithFlags ? 7 : 8) * kWord;
    if (!keyLength || keyAt > metadata.size()) return std::nullopt;
    if (*keyLength >= metadata.size() - keyAt || metadata[keyAt + *keyLength] != '\0') {
        return std::nullopt;
    }
    return Header{.lastFetched = *word(2),
                  .lastModified = *word(3),
                  .key = metadata.substr(keyAt, *keyLength),
                  .elements = metadata.substr(keyAt + *keyLength + 1)};
}

// Names and values, each with a zero byte.
std::optional<std::string_view> element(std::string_view elements, std::string_view name) {
    while (!elements.empty()) {
        const std::size_t nameEnd = elements.find('\0');
        if (nameEnd == std::string_view::npos) return std::nullopt;
        const std::size_t valueEnd = elements.find('\0', nameEnd + 1);
        if (valueEnd == std::string_view::npos) return std::nullopt;
        if (elements.substr(0, nameEnd) == name) {
            return elements.substr(nameEnd + 1, valueEnd - nameEnd - 1);
        }
        elements.remove_prefix(valueEnd + 1);
    }
    return std::nullopt;
}

// Removes a value and the comma behind it; two commas are one that belongs to the value.
std::string_view takeValue(std::string_view& tags) {
    std::size_t end = tags.find(',');
    while (end != std::string_view::npos && tags.substr(end + 1).starts_with(',')) {
        end = tags.find(',', end + 2);
    }
    const std::string_view value = tags.substr(0, end);
    tags.remove_prefix(end == std::string_view::npos ? tags.size() : end + 1);
    return value;
}

// The address follows a colon. Before it stand tags, which tell whose entry this is: a letter, a
// value and a comma each. Private windows leave nothing on the disk; if one did, it is not ours.
std::optional<std::string_view> addressInKey(std::string_view key) {
    while (!key.empty()) {
        const char tag = key.front();
        key.remove_prefix(1);
        if (tag == ':') return key;
        const std::string_view value = takeValue(key);
        const bool isPrivate =
            tag == 'p' || value.find("privateBrowsingId=") != std::string_view::npos;
        if (isPrivate) return std::nullopt;
    }
    return std::nullopt;
}

// Behind the body may stand another form of it, such as a compiled one: "1;OFFSET,TYPE".
std::optional<std::uint64_t> endOfBody(const Header& header, std::uint64_t bodyBytes) {
    constexpr std::string_view kVersion = "1;";
    auto place = element(header.elements, "alt-data");
    if (!place) return bodyBytes;
    if (!place->starts_with(kVersion)) return std::nullopt;
    place->remove_prefix(kVersion.size());
    std::uint64_t offset = 0;
    const char* const behind = place->data() + place->size();
    const auto [end, error] = std::from_chars(place->data(), behind, offset);
    const bool isPlace = error == std::errc() && end != behind && *end == ',';
    if (!isPlace || offset > bodyBytes) return std::nullopt;
    return offset;
}

}  // namespace

std::optional<CachedPage> readFirefoxCacheEntry(const ByteSource& file, Date modified) {
    const auto parts = partsOf(file);
    const auto header = parts ? headerIn(*parts) : std::nullopt;
    if (!header) return std::nullopt;
    const auto address = addressInKey(header->key);
    const auto head = element(header->elements, "response-head");
    const auto bodyEnd = endOfBody(*header, parts->bodyBytes);
    const bool isGet = element(header->elements, "request-method").value_or("GET") == "GET";
    if (!address || !head || !bodyEnd || !isGet) return std::nullopt;
    const Date used = Date::fromUnix(std::max(header->lastFetched, header->lastModified));
    const CachedResponse response = {.url = std::string(*address),
                                     .head = headWithLines(*head, '\n'),
                                     .bodyBytes = *bodyEnd,
                                     .lastUsed = endOfSecond(std::max(used, modified))};
    if (!response.isPage()) return std::nullopt;
    auto body = file.read(0, *bodyEnd);
    return body ? response.pageWith(*std::move(body)) : std::nullopt;
}

}  // namespace siftwell
