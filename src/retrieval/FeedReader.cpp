#include "retrieval/FeedReader.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>

#include "retrieval/FeedDate.h"
#include "retrieval/FeedLink.h"
#include "text/Ascii.h"
#include "text/PageText.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

using pugi::xml_node;

std::string_view nameOf(const xml_node& node) { return node.name(); }

std::string_view prefixOf(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
}

std::string_view localNameOf(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// A feed may have "media:title" before its title, and "atom:title" as its title.
xml_node childNamed(const xml_node& parent, std::string_view localName) {
    const std::string_view ownPrefix = prefixOf(nameOf(parent));
    xml_node other;
    for (const xml_node& child : parent.children()) {
        const std::string_view name = nameOf(child);
        if (localNameOf(name) != localName) continue;
        const std::string_view prefix = prefixOf(name);
        if (prefix.empty() || prefix == ownPrefix) return child;
        if (!other) other = child;
    }
    return other;
}

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F;
}

// References to characters may have made anything.
std::string validText(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        appendUtf8(result, next.character);
        at += next.bytes;
    }
    std::replace_if(result.begin(), result.end(), isControl, ' ');
    return result;
}

// The node behind `node` and everything below it; none when that was the last below `top`. Passes
// a word boundary into `text` wherever an element ends.
xml_node nodeBehind(xml_node node, const xml_node& top, std::string& text) {
    while (!node.next_sibling()) {
        node = node.parent();
        text += ' ';
        if (node == top) return {};
    }
    return node.next_sibling();
}

// All text below an element but that of scripts and styles.
std::string textBelow(const xml_node& top) {
    std::string text;
    xml_node node = top.first_child();
    while (node) {
        const std::string_view name = localNameOf(nameOf(node));
        const bool isHidden =
            equalsIgnoringCase(name, "script") || equalsIgnoringCase(name, "style");
        text += node.type() == pugi::node_element ? " " : node.value();
        node = node.first_child() && !isHidden ? node.first_child() : nodeBehind(node, top, text);
    }
    return text;
}

std::string trimmed(std::string_view text) {
    return std::string(utf16Prefix(trimmingWhiteSpace(text), kMaxFeedTextLength));
}

enum class Dialect { Rss, Atom };

bool hasElements(const xml_node& node) {
    return std::any_of(node.begin(), node.end(),
                       [](const xml_node& child) { return child.type() == pugi::node_element; });
}

// RSS does not say whether its texts are markup; nearly all of it is written as if they were.
bool isEscapedMarkup(const xml_node& node, Dialect dialect) {
    if (hasElements(node)) return false;
    const std::string type = lowerCasedAscii(node.attribute("type").value());
    if (type.find("xhtml") != std::string::npos) return false;
    return dialect == Dialect::Rss || type.find("html") != std::string::npos;
}

std::string plainText(const xml_node& node, Dialect dialect) {
    if (!node || std::string_view(node.attribute("mode").value()) == "base64") return {};
    std::string text = validText(textBelow(node));
    if (isEscapedMarkup(node, dialect)) text = extractPageText(std::move(text), {}).readable;
    return trimmed(text);
}

template <std::size_t count>
std::string firstTextOf(const xml_node& parent, const std::array<const char*, count>& names,
                        Dialect dialect) {
    for (const char* const name : names) {
        std::string text = plainText(childNamed(parent, name), dialect);
        if (!text.empty()) return text;
    }
    return {};
}

Url baseFor(const xml_node& node, const Url& outer) {
    return resolvedLink(node.attribute("xml:base").value(), outer).value_or(outer);
}

// Of an element "link": its attribute as in Atom, else its text as in RSS.
std::optional<Url> linkIn(const xml_node& node, const Url& base) {
    const pugi::xml_attribute address = node.attribute("href");
    if (!address) return safeLink(validText(node.child_value()), base);
    const std::string_view relation = node.attribute("rel").value();
    if (!relation.empty() && relation != "alternate") return std::nullopt;
    return safeLink(validText(address.value()), base);
}

std::optional<Url> linkOf(const xml_node& entry, const Url& base) {
    for (const xml_node& child : entry.children()) {
        if (localNameOf(nameOf(child)) != "link") continue;
        if (auto link = linkIn(child, base)) return link;
    }
    const xml_node identifier = childNamed(entry, "guid");
    const bool isLink = std::string_view(identifier.attribute("isPermaLink").value()) != "false";
    // Never relative: it may be any text.
    const auto whole = Url::parse(trimmingWhiteSpace(identifier.child_value()));
    return isLink && whole && whole->hasScheme() ? safeLink(whole->absoluteString(), base)
                                                 : std::nullopt;
}

FeedEntry entryOf(const xml_node& node, Dialect dialect, const Url& outer) {
    constexpr std::array kDates = {"pubDate",  "published", "updated", "issued",
                                   "modified", "date",      "created"};
    constexpr std::array kRssTexts = {"encoded", "description", "content", "summary"};
    constexpr std::array kAtomTexts = {"content", "summary"};
    FeedEntry entry;
    entry.title = plainText(childNamed(node, "title"), dialect);
    entry.link = linkOf(node, baseFor(node, outer));
    entry.date = shownFeedDate(firstTextOf(node, kDates, Dialect::Atom));
    entry.text = dialect == Dialect::Rss ? firstTextOf(node, kRssTexts, dialect)
                                         : firstTextOf(node, kAtomTexts, dialect);
    return entry;
}

void addEntries(const xml_node& parent, std::string_view localName, Dialect dialect,
                const Url& base, Feed& feed) {
    for (const xml_node& child : parent.children()) {
        if (feed.entries.size() == kMaxFeedEntries) return;
        if (localNameOf(nameOf(child)) == localName) {
            feed.entries.push_back(entryOf(child, dialect, base));
        }
    }
}

Feed readAtom(const xml_node& root, const Url& base) {
    Feed feed;
    feed.title = plainText(childNamed(root, "title"), Dialect::Atom);
    addEntries(root, "entry", Dialect::Atom, base, feed);
    return feed;
}

// RSS 1.0 has its items beside the channel, the others have them in it.
Feed readRss(const xml_node& root, const Url& base) {
    Feed feed;
    const xml_node channel = childNamed(root, "channel");
    feed.title = plainText(childNamed(channel, "title"), Dialect::Rss);
    addEntries(channel, "item", Dialect::Rss, baseFor(channel, base), feed);
    addEntries(root, "item", Dialect::Rss, base, feed);
    return feed;
}

bool isWithinLimits(std::string_view text) {
    return text.size() <= kMaxFeedBytes &&
           static_cast<std::size_t>(std::count(text.begin(), text.end(), '<')) <= kMaxFeedMarkups;
}

}  // namespace

Result<Feed> readFeed(std::string_view text, const Url& base) {
    if (!isWithinLimits(text)) return {StatusCode::TooLarge, "The feed is too large."};
    pugi::xml_document document;
    constexpr unsigned kFlags = pugi::parse_default | pugi::parse_ws_pcdata;
    const pugi::xml_parse_result parsed =
        document.load_buffer(text.data(), text.size(), kFlags, pugi::encoding_utf8);
    if (!parsed) {
        return {StatusCode::Damaged, "The feed is damaged at byte " +
                                         std::to_string(parsed.offset) + ": " +
                                         parsed.description() + "."};
    }
    const xml_node root = document.document_element();
    const std::string_view kind = localNameOf(nameOf(root));
    if (kind == "feed") return readAtom(root, baseFor(root, base));
    if (kind == "rss" || kind == "RDF") return readRss(root, baseFor(root, base));
    return {StatusCode::Damaged, "This is no feed."};
}

}  // namespace siftwell
