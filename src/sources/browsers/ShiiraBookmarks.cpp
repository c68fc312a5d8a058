#include "sources/browsers/ShiiraBookmarks.h"

#include <initializer_list>
#include <utility>

#include "base/PropertyListFormat.h"
#include "sources/Addresses.h"
#include "sources/browsers/BrowserRows.h"

namespace siftwell {

namespace {

using Names = std::initializer_list<std::string_view>;

// Versions differ in how they spell the keys.
const PropertyList* findAny(const PropertyList::Dictionary& dictionary, Names names) {
    for (const std::string_view name : names) {
        if (const PropertyList* value = find(dictionary, name)) return value;
    }
    return nullptr;
}

std::string textUnder(const PropertyList::Dictionary& dictionary, Names names) {
    const PropertyList* value = findAny(dictionary, names);
    const std::string* text = value == nullptr ? nullptr : value->asString();
    return text == nullptr ? std::string() : *text;
}

class ShiiraReader {
public:
    explicit ShiiraReader(const TakeEntry& take) : m_take(take) {}

    // False once no more are wanted. As deep as property lists may nest.
    bool read(const PropertyList& value) {
        if (const auto* members = value.asArray()) {
            for (const PropertyList& member : *members) {
                if (!read(member)) return false;
            }
        }
        const auto* dictionary = value.asDictionary();
        return dictionary == nullptr || readNode(*dictionary);
    }

private:
    bool readNode(const PropertyList::Dictionary& node) {
        const auto* children = findAny(node, {"Children", "children", "Bookmarks", "bookmarks"});
        if (children != nullptr) return read(*children);
        BrowserEntry entry{.url = textUnder(node, {"URLString", "urlString", "URL", "url"}),
                           .date = std::nullopt,
                           .title = takenTitle(textUnder(node, {"Title", "title"}))};
        if (!isTakenBookmark(entry.url)) return true;
        return ++m_taken <= kMaxAddresses && m_take(std::move(entry));
    }

    const TakeEntry& m_take;
    std::size_t m_taken = 0;
};

}  // namespace

Status readShiiraBookmarks(std::string_view bytes, const TakeEntry& take) {
    const auto list = parsePropertyList(bytes);
    if (!list) return list.status();
    ShiiraReader(take).read(*list);
    return {};
}

}  // namespace siftwell
