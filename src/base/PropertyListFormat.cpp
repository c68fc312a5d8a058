#include "base/PropertyListFormat.h"

#include <plist/plist.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace siftwell {

namespace {

constexpr int kMaxDepth = 512;
constexpr std::size_t kMaxBytes = std::size_t{1} << 30;
constexpr double kDateLimit = 2147483647.0;  // what the library stores dates in

struct NodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};
using CString = std::unique_ptr<char, Freer>;

// The library answers dates in 32-bit seconds, which wrap for dates far from now; its own binary
// form of the single node holds the exact double behind the magic and the type byte.
Date dateOf(plist_t node) {
    constexpr std::size_t kPosition = 9;
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const CString owner(bytes);
    if (bytes == nullptr || length < kPosition + 8) return Date::distantPast();
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        bits = bits << 8 | static_cast<unsigned char>(bytes[kPosition + i]);
    }
    const auto seconds = std::bit_cast<double>(bits);
    if (!(seconds > -kDateLimit)) return Date::distantPast();
    if (seconds >= kDateLimit) return Date::distantFuture();
    return Date::fromReference(seconds);
}

PropertyList valueOf(plist_t node);

PropertyList arrayOf(plist_t node) {
    PropertyList::Array array;
    void* iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const std::unique_ptr<void, Freer> owner(iterator);
    plist_t item = nullptr;
    for (plist_array_next_item(node, iterator, &item); item != nullptr;
         plist_array_next_item(node, iterator, &item)) {
        array.push_back(valueOf(item));
    }
    return array;
}

PropertyList dictionaryOf(plist_t node) {
    PropertyList::Dictionary dictionary;
    void* iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, Freer> owner(iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const CString keyOwner(key);
        if (item == nullptr) return dictionary;
        if (key != nullptr) dictionary[key] = valueOf(item);
    }
}

// UIDs have no counterpart here and are read as their number.
PropertyList valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            std::uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<std::int64_t>(value);  // negative numbers arrive as complements
        }
        case PLIST_UID: {
            std::uint64_t value = 0;
            plist_get_uid_val(node, &value);
            return static_cast<std::int64_t>(value);
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING: {
            std::uint64_t length = 0;
            const char* text = plist_get_string_ptr(node, &length);
            return text == nullptr ? std::string() : std::string(text, length);
        }
        case PLIST_DATA: {
            std::uint64_t length = 0;
            const char* bytes = plist_get_data_ptr(node, &length);
            return PropertyList::Data{bytes == nullptr ? "" : std::string(bytes, length)};
        }
        case PLIST_DATE:
            return dateOf(node);
        case PLIST_ARRAY:
            return arrayOf(node);
        case PLIST_DICT:
            return dictionaryOf(node);
        default:
            return {};
    }
}

// The length of the UTF-8 character that `text` begins with; 0 for a zero byte and for what is
// none.
std::size_t characterLength(std::string_view text) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byteAt(0);
    if (first > 0 && first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return 0;
    }
    const bool isOverlong =
        (first == 0xE0 && byteAt(1) < 0xA0) || (first == 0xF0 && byteAt(1) < 0x90);
    const bool isOutOfRange =
        (first == 0xED && byteAt(1) >= 0xA0) || (first == 0xF4 && byteAt(1) >= 0x90);
    return isOverlong || isOutOfRange ? 0 : length;
}

// The library ends a string at a zero byte, cuts it at what is no UTF-8, and reads past the end of
// one that ends within a character.
std::string storable(std::string_view text) {
    constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    std::string result;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        result += length == 0 ? kReplacement : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

plist_t nodeOf(const PropertyList& value);

plist_t dateNode(Date date) {
    const double seconds =
        std::fmin(std::fmax(date.secondsSinceReference(), -kDateLimit), kDateLimit);
    const double whole = std::floor(seconds);
    const double microseconds = std::round((seconds - whole) * 1e6);
    if (microseconds >= 1e6) return plist_new_date(static_cast<std::int32_t>(whole + 1), 0);
    return plist_new_date(static_cast<std::int32_t>(whole),
                          static_cast<std::int32_t>(microseconds));
}

plist_t arrayNode(const PropertyList::Array& array) {
    plist_t node = plist_new_array();
    for (const PropertyList& item : array) {
        if (!item.isNull()) plist_array_append_item(node, nodeOf(item));
    }
    return node;
}

plist_t dictionaryNode(const PropertyList::Dictionary& dictionary) {
    plist_t node = plist_new_dict();
    for (const auto& [key, item] : dictionary) {
        if (!item.isNull()) plist_dict_set_item(node, storable(key).c_str(), nodeOf(item));
    }
    return node;
}

plist_t nodeOf(const PropertyList& value) {
    if (const auto* boolean = value.asBoolean()) return plist_new_bool(*boolean ? 1 : 0);
    if (const auto* integer = value.asInteger()) {
        return plist_new_uint(static_cast<std::uint64_t>(*integer));
    }
    if (const auto* real = value.asReal()) return plist_new_real(*real);
    if (const auto* text = value.asString()) return plist_new_string(storable(*text).c_str());
    if (const auto* data = value.asData()) {
        return plist_new_data(data->bytes.data(), data->bytes.size());
    }
    if (const auto* date = value.asDate()) return dateNode(*date);
    if (const auto* array = value.asArray()) return arrayNode(*array);
    if (const auto* dictionary = value.asDictionary()) return dictionaryNode(*dictionary);
    return plist_new_dict();
}

// Newer versions of the library guess at other forms too, whose depth nobody has checked.
plist_t parsed(std::string_view bytes) {
    plist_t node = nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    if (bytes.starts_with("bplist")) {
        plist_from_bin(bytes.data(), length, &node);
    } else {
        plist_from_xml(bytes.data(), length, &node);
    }
    return node;
}

}  // namespace

Result<PropertyList> parsePropertyList(std::string_view bytes) {
    if (bytes.size() > kMaxBytes) {
        return {StatusCode::TooLarge, "The property list is larger than 1 GB."};
    }
    if (!isPropertyListDepthWithin(bytes, kMaxDepth)) {
        return {StatusCode::Damaged, "The property list is damaged or nested too deeply."};
    }
    const Node owner(parsed(bytes));
    if (owner == nullptr) return {StatusCode::Damaged, "This is no property list."};
    return valueOf(owner.get());
}

std::string serializePropertyList(const PropertyList& value) {
    const Node node(nodeOf(value));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node.get(), &bytes, &length);
    const CString owner(bytes);
    return bytes == nullptr ? std::string() : std::string(bytes, length);
}

}  // namespace siftwell
