#include "text/PageBase.h"

#include <algorithm>
#include <array>

#include "text/Ascii.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\f";
constexpr std::size_t kLongestHead = 65536;  // where a base is looked for

bool beginsWith(std::string_view text, std::string_view smallLetters) {
    return text.size() >= smallLetters.size() &&
           equalsIgnoringCase(text.substr(0, smallLetters.size()), smallLetters);
}

// The length of the comment, declaration or instruction at the beginning; 0 when there is none, or
// it has no end.
std::size_t prologPiece(std::string_view text) {
    struct Piece {
        std::string_view begin;
        std::string_view end;
    };
    constexpr std::array<Piece, 3> kPieces = {{{"<!--", "-->"}, {"<!doctype", ">"}, {"<?", ">"}}};
    for (const Piece& piece : kPieces) {
        if (!beginsWith(text, piece.begin)) continue;
        const std::size_t end = text.find(piece.end, piece.begin.size());
        return end == std::string_view::npos ? 0 : end + piece.end.size();
    }
    return 0;
}

std::size_t firstElement(std::string_view page) {
    std::size_t at = page.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0;
    while (true) {
        const std::size_t piece = std::min(page.find_first_not_of(kBlanks, at), page.size());
        const std::size_t length = prologPiece(page.substr(piece));
        if (length == 0) return at;
        at = piece + length;
    }
}

// The tag that begins with "<base" and a blank; "" when there is none.
std::string_view baseTag(std::string_view head) {
    constexpr std::string_view kName = "<base";
    for (std::size_t at = head.find('<'); at != std::string_view::npos;
         at = head.find('<', at + 1)) {
        const std::string_view tag = head.substr(at);
        if (tag.size() <= kName.size() || !beginsWith(tag, kName)) continue;
        if (kBlanks.find(tag[kName.size()]) == std::string_view::npos) continue;
        return tag.substr(0, tag.find('>'));
    }
    return {};
}

// The value of the attribute "href".
std::string_view addressIn(std::string_view tag) {
    constexpr std::string_view kName = "href";
    const auto found = std::search(tag.begin(), tag.end(), kName.begin(), kName.end(),
                                   [](char x, char y) { return asciiLower(x) == y; });
    if (found == tag.end()) return {};
    tag.remove_prefix(static_cast<std::size_t>(found - tag.begin()) + kName.size());
    tag.remove_prefix(std::min(tag.find_first_not_of(kBlanks), tag.size()));
    if (!tag.starts_with('=')) return {};
    tag.remove_prefix(1);
    tag.remove_prefix(std::min(tag.find_first_not_of(kBlanks), tag.size()));
    if (!tag.starts_with('"') && !tag.starts_with('\'')) {
        return tag.substr(0, tag.find_first_of(kBlanks));
    }
    return tag.substr(1, tag.find(tag.front(), 1) - 1);
}

Url baseOf(std::string_view page, const Url& address) {
    const std::string_view written = addressIn(baseTag(page.substr(0, kLongestHead)));
    const auto own = written.empty()
                         ? std::nullopt
                         : address.resolved(percentEncoded(trimmingWhiteSpace(written)));
    const std::string scheme = own ? lowerCasedAscii(own->scheme()) : "";
    return scheme == "http" || scheme == "https" ? *own : address;
}

std::string quoted(std::string_view address) {
    std::string result = "\"";
    for (const char c : address) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result + '"';
}

}  // namespace

std::string pageWithBase(std::string_view page, const Url& address) {
    const std::string base = baseOf(page, address).absoluteString();
    const std::size_t at = firstElement(page);
    std::string result(page.substr(0, at));
    result += "<base href=" + quoted(base.substr(0, base.find('#'))) + ">";
    result += page.substr(at);
    return result;
}

}  // namespace siftwell
