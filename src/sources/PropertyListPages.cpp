#include "sources/PropertyListPages.h"

#include <cmath>
#include <utility>

#include "base/PropertyListFormat.h"

namespace siftwell {

namespace {

using Dictionary = PropertyList::Dictionary;
using Entries = std::vector<BatchEntry>;

class Walk {
public:
    explicit Walk(const GoOn& goOn) : m_goOn(goOn) {}

    bool goesOn() const { return m_entries.size() < kMaxAddresses && m_goOn(); }
    Entries& entries() { return m_entries; }

private:
    const GoOn& m_goOn;
    Entries m_entries;
};

const std::string* textFor(const Dictionary& container, std::string_view key) {
    const PropertyList* value = find(container, key);
    return value == nullptr ? nullptr : value->asString();
}

// From a number, or a text, of seconds since 2001. What is no number counts as 0.
std::optional<Date> secondsFor(const Dictionary& container, std::string_view key) {
    const PropertyList* value = find(container, key);
    const auto seconds = value == nullptr ? std::nullopt : value->asRealLenient();
    if (!seconds) return std::nullopt;
    return Date::fromReference(std::isfinite(*seconds) ? *seconds : 0);
}

template <typename Take>
void forEachIn(const PropertyList* list, Take take) {
    if (list == nullptr || list->asArray() == nullptr) return;
    for (const PropertyList& each : *list->asArray()) take(each);
}

// The address stands under the empty key in the oldest layout, which later ones left behind empty.
const std::string* addressOfBookmark(const Dictionary& container, const Dictionary& uri) {
    const std::string* address = textFor(uri, "");
    if (address != nullptr && !address->empty()) return address;
    address = textFor(container, "URLString");
    return address != nullptr ? address : textFor(container, "URL");
}

std::optional<Date> dateOfBookmark(const Dictionary& container, const Dictionary& uri,
                                   Date fileDate) {
    if (const auto visited = secondsFor(uri, "lastVisitedDate")) return visited;
    return find(container, "URL") == nullptr ? std::nullopt : std::optional(fileDate);
}

void parseBookmarkEntryInContainer(const PropertyList& value, Walk& walk, Date fileDate) {
    const Dictionary* container = value.asDictionary();
    if (container == nullptr || !walk.goesOn()) return;
    const PropertyList* inner = find(*container, "URIDictionary");
    const Dictionary none;
    const Dictionary& uri =
        inner != nullptr && inner->asDictionary() != nullptr ? *inner->asDictionary() : none;
    const std::string* address = addressOfBookmark(*container, uri);
    if (address == nullptr) {
        return forEachIn(find(*container, "Children"), [&](const PropertyList& child) {
            parseBookmarkEntryInContainer(child, walk, fileDate);
        });
    }
    auto url = Url::parse(*address);
    if (!url) return;
    const std::string* title = textFor(uri, "title");
    walk.entries().push_back({.url = *std::move(url),
                              .date = dateOfBookmark(*container, uri, fileDate),
                              .title = title == nullptr ? std::nullopt : std::optional(*title)});
}

void parseBookmarkEntryInContainer(const PropertyList& value, Walk& walk) {
    const Dictionary* container = value.asDictionary();
    if (container == nullptr || !walk.goesOn()) return;
    if (const PropertyList* children = find(*container, "Children")) {
        return forEachIn(children, [&](const PropertyList& child) {
            parseBookmarkEntryInContainer(child, walk);
        });
    }
    const auto date = dateFor(*container, "LastVisitedDate");
    const std::string* address = textFor(*container, "URL");
    if (!date || address == nullptr) return;
    if (auto url = Url::parse(*address)) {
        walk.entries().push_back({.url = *std::move(url), .date = date});
    }
}

void parseObject(const PropertyList& object, Walk& walk) {
    if (!walk.goesOn()) return;
    forEachIn(&object, [&](const PropertyList& each) { parseObject(each, walk); });
    const Dictionary* visit = object.asDictionary();
    const std::string* address = visit == nullptr ? nullptr : textFor(*visit, "url");
    if (address == nullptr || address->empty()) return;
    if (auto url = Url::parse(*address)) {
        walk.entries().push_back(
            {.url = *std::move(url), .date = secondsFor(*visit, "timeInterval").value_or(Date())});
    }
}

}  // namespace

std::optional<Entries> safariBookmarks(std::string_view bytes, Date fileDate, const GoOn& goOn) {
    const auto list = parsePropertyList(bytes);
    if (!list) return std::nullopt;
    Walk walk(goOn);
    parseBookmarkEntryInContainer(*list, walk, fileDate);
    return std::move(walk.entries());
}

std::optional<Entries> caminoBookmarks(std::string_view bytes, const GoOn& goOn) {
    const auto list = parsePropertyList(bytes);
    if (!list) return std::nullopt;
    Walk walk(goOn);
    parseBookmarkEntryInContainer(*list, walk);
    return std::move(walk.entries());
}

std::optional<Entries> omniWebHistory(std::string_view bytes, const GoOn& goOn) {
    const auto list = parsePropertyList(bytes);
    if (!list) return std::nullopt;
    Walk walk(goOn);
    const Dictionary* top = list->asDictionary();
    const PropertyList* entries = top == nullptr ? &*list : find(*top, "entries");
    if (entries != nullptr) parseObject(*entries, walk);
    return std::move(walk.entries());
}

}  // namespace siftwell
