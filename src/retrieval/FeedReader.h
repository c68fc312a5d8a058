// FeedReader: what a feed says, in plain text.
//
// RSS 0.9x and 2.0, RSS 1.0, Atom 0.3 and 1.0. Elements are known by their local names; where
// several prefixes use the same name, the one without a prefix or with its parent's comes first.
//
// Threads: pure functions. Errors: a feed is hostile. Whatever nesting, entities and lengths it
// has, memory is a small multiple of its bytes and time is linear; entities that a feed declares
// are not expanded, and nothing outside of it is ever read.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "base/Url.h"

namespace siftwell {

inline constexpr std::size_t kMaxFeedBytes = std::size_t{16} << 20;
inline constexpr std::size_t kMaxFeedMarkups = 1'000'000;  // each takes up to 150 bytes of memory
inline constexpr std::size_t kMaxFeedEntries = 1000;       // the first ones
inline constexpr std::size_t kMaxFeedTextLength = 65536;   // UTF-16 units of one text

struct FeedEntry {
    std::string title;
    std::optional<Url> link;  // absolute; http, https or feed
    std::string date;         // local time where it could be read, else as the feed has it
    std::string text;
};

// Texts are valid UTF-8 without markup and control characters, but with every other character:
// whoever puts them into a page escapes them.
struct Feed {
    std::string title;
    std::vector<FeedEntry> entries;
};

// The feed's text: by its byte-order mark, else by `encodingName` (of the response), else by its
// XML declaration, else as UTF-8. What does not fit its encoding is tried by the next of these; ISO
// Latin-1 takes anything.
std::string decodeFeed(std::string_view bytes, const std::optional<std::string>& encodingName);

// `text` is UTF-8; links are seen from `base`.
Result<Feed> readFeed(std::string_view text, const Url& base);

}  // namespace siftwell
