#include "app/update/Appcast.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>

#include "retrieval/FeedLink.h"
#include "retrieval/FeedReader.h"
#include "text/Ascii.h"
#include "text/PageText.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

using pugi::xml_node;

constexpr std::array kVersionNames = {"shortVersionString", "version"};

std::string_view localNameOf(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

xml_node childNamed(const xml_node& parent, std::string_view localName) {
    return parent.find_child(
        [localName](const xml_node& child) { return localNameOf(child.name()) == localName; });
}

std::string_view attributeNamed(const xml_node& node, std::string_view localName) {
    return node
        .find_attribute([localName](const pugi::xml_attribute& attribute) {
            return localNameOf(attribute.name()) == localName;
        })
        .value();
}

// References to characters may have made anything.
std::string textOf(const xml_node& node) {
    std::string text;
    for (const xml_node& child : node.children()) text += child.value();  // "" for elements
    text = repairedUtf8(text);
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F; },
        ' ');
    return std::string(trimmingWhiteSpace(text));
}

std::string plainTextOf(const xml_node& node) {
    const std::string text = extractPageText(textOf(node), {}).readable;
    return std::string(utf16Prefix(trimmingWhiteSpace(text), kMaxReleaseNotes));
}

std::string versionTextOf(const xml_node& item) {
    const xml_node enclosure = childNamed(item, "enclosure");
    for (const char* const name : kVersionNames) {
        const auto ofFile = trimmingWhiteSpace(attributeNamed(enclosure, name));
        if (!ofFile.empty()) return std::string(ofFile);
        std::string ofItem = textOf(childNamed(item, name));
        if (!ofItem.empty()) return ofItem;
    }
    return {};
}

std::optional<Url> linkOf(const xml_node& item, const Url& base) {
    const std::array<std::string, 2> places = {
        textOf(childNamed(item, "link")),
        std::string(attributeNamed(childNamed(item, "enclosure"), "url"))};
    for (const std::string& place : places) {
        auto link = place.empty() ? std::nullopt : safeLink(place, base);
        if (link && equalsIgnoringCase(link->scheme(), "https")) return link;
    }
    return std::nullopt;
}

std::string notesOf(const xml_node& item) {
    std::string notes = plainTextOf(childNamed(item, "description"));
    return notes.empty() ? plainTextOf(childNamed(item, "title")) : notes;
}

std::optional<AppcastItem> bestItem(const xml_node& channel, const Url& base) {
    std::optional<VersionNumber> best;
    xml_node found;
    std::size_t count = 0;
    for (const xml_node& item : channel.children()) {
        if (localNameOf(item.name()) != "item") continue;
        if (++count > kMaxAppcastItems) break;
        const auto version = VersionNumber::parse(versionTextOf(item));
        if (!version || (best && *version <= *best)) continue;
        best = version;
        found = item;
    }
    if (!best) return std::nullopt;
    return AppcastItem{*best, versionTextOf(found), linkOf(found, base), notesOf(found)};
}

bool isWithinLimits(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '<')) <=
           kMaxAppcastMarkups;
}

}  // namespace

Result<std::optional<AppcastItem>> bestItemOfAppcast(std::string_view bytes, const Url& base) {
    const bool isSmall = bytes.size() <= kMaxAppcastBytes;
    const std::string text = isSmall ? decodeFeed(bytes, std::nullopt) : std::string();
    if (!isSmall || !isWithinLimits(text)) {
        return {StatusCode::TooLarge, "The feed is too large."};
    }
    pugi::xml_document document;
    const pugi::xml_parse_result parsed =
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!parsed) {
        return {StatusCode::Damaged, "The feed is damaged at byte " +
                                         std::to_string(parsed.offset) + ": " +
                                         parsed.description() + "."};
    }
    const xml_node channel = childNamed(document.document_element(), "channel");
    if (!channel) return {StatusCode::Damaged, "This is no feed of releases."};
    return bestItem(channel, base);
}

}  // namespace siftwell
