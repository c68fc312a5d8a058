// Quick questions about a page's markup. No tree is built and no markup is parsed: every answer
// comes from a few searches for short texts in which the case of ASCII letters does not matter.
//
// Threads: any. Errors: none; an answer that is not there is none. What returns a view borrows the
// text. Time is linear in the text, whatever it contains.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Url.h"

namespace siftwell {

// Whether "<html" and "<head", or "<rss" and "<channel", both stand in the first 5,120 characters,
// counted as UTF-16 units.
bool isHTML(std::string_view text);
bool isRSS(std::string_view text);

// What stands between the first tag beginning with "<" and `tagName` and the next "</" and
// `tagName`, without the white space in front; none when that is nothing. Tags are known by how
// they begin: "head" takes "<header>" too.
std::optional<std::string_view> contentWithinTag(std::string_view text, std::string_view tagName);
std::optional<std::string_view> HTMLHead(std::string_view text);

std::optional<std::string> HTMLTitle(std::string_view text);

// A title's content as people are shown it: line ends and tabs are spaces, runs of spaces one, none
// at the ends, "&gt;" and "&lt;" (in small letters) brackets.
std::string cleanTitle(std::string_view content);

// The name of the character set that the tag around the first "charset" declares. Only a tab, a
// double quote, ";" or ">" ends it: neither blank nor apostrophe do.
std::optional<std::string_view> HTMLCharSet(std::string_view text);

// Where the page's head leads at once: by a script that sets the location, when scripts count, else
// by a refresh after less than 60 seconds. May be relative to the page.
std::optional<Url> HTMLRedirectURL(std::string_view text, bool isJavaScriptEnabled);

// The addresses of the page's frames in their order, at most 1,000 (they all are kept in memory
// with their whole address). Only "src=" without blanks is understood, and no inline frame.
std::vector<Url> HTMLFramesForURL(std::string_view text, const Url& baseURL);

// Trims white space, then takes off pairs of equal quotation marks (" or ') as long as there are
// any around the text.
std::string_view stringByRemovingQuotationMarks(std::string_view text);

}  // namespace siftwell
