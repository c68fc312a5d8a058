#include "sources/safari/WebHistory.h"

#include "base/PropertyListFormat.h"

namespace siftwell {

namespace {

// The key of a page's address is empty; others hold its title and how often it was visited.
const std::string* addressIn(const PropertyList& page) {
    const auto* keys = page.asDictionary();
    const PropertyList* address = keys == nullptr ? nullptr : find(*keys, "");
    return address == nullptr ? nullptr : address->asString();
}

// A number, or a text that holds one.
Date lastVisitOf(const PropertyList& page) {
    const PropertyList* seconds = find(*page.asDictionary(), "lastVisitedDate");
    return Date::fromReference(seconds == nullptr ? 0 : seconds->asRealLenient().value_or(0));
}

void readPages(const PropertyList& pages, const TakeEntry& take) {
    const auto* list = pages.asArray();
    if (list == nullptr) return;
    for (const PropertyList& page : *list) {
        const std::string* address = addressIn(page);
        if (address == nullptr) continue;
        if (!take({.url = *address, .date = lastVisitOf(page), .title = ""})) return;
    }
}

}  // namespace

Status readWebHistory(std::string_view bytes, const TakeEntry& take) {
    const auto list = parsePropertyList(bytes);
    if (!list) return list.status();
    const auto* keys = list->asDictionary();
    if (keys == nullptr) return {};
    if (const PropertyList* pages = find(*keys, "WebHistoryDates")) {
        readPages(*pages, take);
    } else if (const PropertyList* address = find(*keys, "URL")) {
        if (const std::string* text = address->asString()) {
            take({.url = *text, .date = std::nullopt, .title = ""});
        }
    }
    return {};
}

}  // namespace siftwell
