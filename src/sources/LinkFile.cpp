#include "sources/LinkFile.h"

#include <sys/xattr.h>

#include <array>

#include "base/Files.h"
#include "base/PropertyListFormat.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxForkBytes = 16 << 20;  // with the pictures that some carry
constexpr std::size_t kMaxAttributeBytes = 1 << 20;
constexpr std::size_t kMaxPropertyListBytes = 1 << 20;

// A big-endian number of so many bytes.
std::optional<std::uint32_t> numberAt(std::string_view bytes, std::size_t at, std::size_t length) {
    if (at > bytes.size() || bytes.size() - at < length) return std::nullopt;
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(at, length)) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

std::optional<std::string_view> part(std::string_view bytes, std::optional<std::uint32_t> at,
                                     std::optional<std::uint32_t> length) {
    if (!at || !length || *at > bytes.size() || bytes.size() - *at < *length) return std::nullopt;
    return bytes.substr(*at, *length);
}

// Where the references to the resources of a type lie in the type list, and how many there are.
struct References {
    std::size_t at = 0;
    std::size_t count = 0;
};

std::optional<References> referencesTo(std::string_view type, std::string_view typeList) {
    constexpr std::size_t kEntry = 8;
    const auto last = numberAt(typeList, 0, 2);  // 0xFFFF when there is none
    const std::size_t count = last ? (*last + 1) & 0xFFFF : 0;
    for (std::size_t at = 2; at < 2 + count * kEntry; at += kEntry) {
        const auto lastReference = numberAt(typeList, at + 4, 2);
        const auto references = numberAt(typeList, at + 6, 2);
        if (!lastReference || !references) return std::nullopt;
        if (typeList.substr(at, 4) == type) return References{*references, *lastReference + 1U};
    }
    return std::nullopt;
}

// Where the resource lies in the fork's data.
std::optional<std::uint32_t> placeOf(std::uint16_t id, std::string_view typeList,
                                     const References& references) {
    constexpr std::size_t kEntry = 12;
    for (std::size_t i = 0; i < references.count; ++i) {
        const std::size_t at = references.at + i * kEntry;
        const auto found = numberAt(typeList, at, 2);
        if (!found) return std::nullopt;
        if (*found == id) return numberAt(typeList, at + 5, 3);
    }
    return std::nullopt;
}

std::optional<std::string> urlResourceIn(std::optional<std::string_view> fork) {
    const auto text = fork ? resourceInFork(*fork, "url ", 256) : std::nullopt;
    if (!text || text->empty() || !isValidUtf8(*text)) return std::nullopt;
    return std::string(*text);
}

std::optional<std::string> addressInCompanion(const std::string& path) {
    const auto bytes = readFile(folderOf(path) + "/._" + lastPathComponent(path), kMaxForkBytes);
    return bytes ? urlResourceIn(resourceForkInAppleDouble(*bytes)) : std::nullopt;
}

std::optional<std::string> attributeOf(const std::string& path, const char* name) {
    const ssize_t size = getxattr(path.c_str(), name, nullptr, 0);
    if (size <= 0 || static_cast<std::size_t>(size) > kMaxAttributeBytes) return std::nullopt;
    std::string value(static_cast<std::size_t>(size), '\0');
    const ssize_t read = getxattr(path.c_str(), name, value.data(), value.size());
    if (read <= 0) return std::nullopt;
    value.resize(static_cast<std::size_t>(read));
    return value;
}

std::optional<std::string> addressInAttribute(const std::string& path) {
    // The second is how systems call it that let users have their own names only.
    constexpr std::array<const char*, 2> kNames = {"com.apple.ResourceFork",
                                                   "user.com.apple.ResourceFork"};
    for (const char* name : kNames) {
        const auto fork = attributeOf(path, name);
        if (auto address = urlResourceIn(fork)) return address;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string_view> resourceForkInAppleDouble(std::string_view bytes) {
    constexpr std::uint32_t kMagic = 0x00051607;
    constexpr std::uint32_t kResourceFork = 2;
    constexpr std::size_t kHead = 26;
    constexpr std::size_t kEntry = 12;
    if (numberAt(bytes, 0, 4) != kMagic) return std::nullopt;
    const std::size_t count = numberAt(bytes, kHead - 2, 2).value_or(0);
    for (std::size_t at = kHead; at < kHead + count * kEntry; at += kEntry) {
        const auto kind = numberAt(bytes, at, 4);
        if (!kind) return std::nullopt;
        if (*kind == kResourceFork) {
            return part(bytes, numberAt(bytes, at + 4, 4), numberAt(bytes, at + 8, 4));
        }
    }
    return std::nullopt;
}

std::optional<std::string_view> resourceInFork(std::string_view fork, std::string_view type,
                                               std::uint16_t id) {
    const auto data = part(fork, numberAt(fork, 0, 4), numberAt(fork, 8, 4));
    const auto map = part(fork, numberAt(fork, 4, 4), numberAt(fork, 12, 4));
    if (!data || !map) return std::nullopt;
    const auto typeListAt = numberAt(*map, 24, 2);
    if (!typeListAt || *typeListAt > map->size()) return std::nullopt;
    const std::string_view typeList = map->substr(*typeListAt);
    const auto references = referencesTo(type, typeList);
    const auto at = references ? placeOf(id, typeList, *references) : std::nullopt;
    return at ? part(*data, *at + 4, numberAt(*data, *at, 4)) : std::nullopt;
}

std::optional<std::string> addressInLinkPropertyList(std::string_view bytes) {
    const auto list = parsePropertyList(bytes);
    if (!list || list->asDictionary() == nullptr) return std::nullopt;
    std::string address = stringFor(*list->asDictionary(), "URL");
    if (address.empty()) return std::nullopt;
    return address;
}

std::optional<std::string> addressInLinkFile(const std::string& path) {
    if (auto address = addressInCompanion(path)) return address;
    if (auto address = addressInAttribute(path)) return address;
    const auto bytes = readFile(path, kMaxPropertyListBytes);
    return bytes ? addressInLinkPropertyList(*bytes) : std::nullopt;
}

}  // namespace siftwell
