// HTMLProcessor turns the markup of one page into its text, pass by pass, within the page's own
// bytes: every pass leaves the text shorter or as long as it was, and none allocates.
//
// It knows nothing of HTML beyond a few delimiters, and what it makes of odd pages is settled: the
// words of a page must not change from one version of the program to the next. The order of passes
// that makes a page's index text is extractPageText().
//
// Every pass calls its Yield when it stands on byte 0, 1,000, 2,000, ... of what it reads; places
// that it jumps over within an entity or a deleted stretch cause no call.
//
// Threads: one thread. Errors: none; a page that is not valid UTF-8 is an empty one. Time is linear
// in the page, whatever it contains.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "text/Yield.h"

namespace siftwell {

class HTMLProcessor {
public:
    explicit HTMLProcessor(std::string page);

    // Decodes numeric and named entities of at most 12 bytes, "&gt;" and "&lt;" excepted, and makes
    // one space of every run of blanks, tabs and line ends. What entities stand for is no white
    // space and may stand in runs.
    //
    // The case of a name does not matter (see kSpecialEncodedCharMap). A number is read by the
    // value of each byte relative to "0", digit or not, so "&#x41;" is no "A"; a number that no
    // character has becomes U+FFFD, since bytes that are not UTF-8 would cost the page its text.
    void replaceHTMLEncodedChars(const Yield& whilePerforming);

    // What stands between the first tag beginning with "<title" and the next "<", cleaned by
    // cleanTitle(); may be empty. None when there is no such place.
    std::optional<std::string> title() const;

    // Puts one space in place of everything from a start delimiter to the next stop delimiter, or
    // none after a space. A start that no stop follows stays. The first bytes of both delimiters
    // are always compared exactly. An empty delimiter deletes nothing.
    void deleteTagsWithStartDelimiter(std::string_view start, std::string_view stopDelimiter,
                                      bool ignoreCase, const Yield& whilePerforming);

    // Decodes "&gt;" and "&lt;" in any letter case and makes all other ASCII capitals small.
    void replaceHTMLEncodedDelimiters(const Yield& whilePerforming);

    const std::string& string() const& { return m_text; }
    std::string string() && { return std::move(m_text); }

    // The text as a person reads it: as after replaceHTMLEncodedDelimiters(), in its own letters.
    std::string readableString() const;

private:
    std::string m_text;  // valid UTF-8
};

}  // namespace siftwell
