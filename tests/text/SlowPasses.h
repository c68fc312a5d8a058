// The passes of HTMLProcessor byte by byte, as their rules say them.
#pragma once

#include <strings.h>

#include <array>
#include <string>
#include <vector>

#include "text/EntityTables.h"
#include "text/Utf8.h"

namespace siftwell::slow {

// What is written and what is still to be read when a pass yields.
struct Moment {
    std::string written;
    std::string unread;
};
using Moments = std::vector<Moment>;

inline std::size_t entityLength(const std::string& page, std::size_t i) {
    if (page[i] != '&' || i + 3 >= page.size()) return 0;
    for (std::size_t end = i + 1; end <= i + 11 && end < page.size(); ++end) {
        if (page[end] == ';') return end - i + 1;
    }
    return 0;
}

template <std::size_t kRows>
char32_t rowEqualTo(const std::string& candidate, const std::array<Entity, kRows>& rows) {
    for (const Entity& row : rows) {
        if (strncasecmp(row.text.data(), candidate.c_str(), candidate.size()) == 0) {
            return row.codePoint;
        }
    }
    return 0;
}

inline char32_t codePoint(const std::string& candidate) {
    if (candidate[1] != '#') return rowEqualTo(candidate, kSpecialEncodedCharMap);
    long number = 0;
    for (std::size_t i = 2; i + 1 < candidate.size(); ++i) {
        number = number * 10 + (static_cast<unsigned char>(candidate[i]) - '0');
    }
    if (number < 0 || number > 0x10FFFF || (number >= 0xD800 && number <= 0xDFFF)) return 0xFFFD;
    return static_cast<char32_t>(number);
}

inline std::string entityPass(const std::string& page, Moments& moments) {
    std::string out;
    for (std::size_t i = 0; i < page.size();) {
        if (i % 1000 == 0) moments.push_back({out, page.substr(i)});
        const std::size_t length = entityLength(page, i);
        const char32_t decoded = length > 0 ? codePoint(page.substr(i, length)) : 0;
        if (decoded != 0) {
            appendUtf8(out, decoded);
            i += length;
        } else if (page[i] == ' ' || page[i] == '\t' || page[i] == '\n' || page[i] == '\r') {
            if (out.empty() || out.back() != ' ') out += ' ';
            ++i;
        } else {
            out += page[i++];
        }
    }
    return out;
}

inline std::string delimiterPass(const std::string& page, bool toSmall, Moments& moments) {
    std::string out;
    for (std::size_t i = 0; i < page.size();) {
        if (i % 1000 == 0) moments.push_back({out, page.substr(i)});
        const std::size_t length = entityLength(page, i);
        const char32_t decoded =
            length > 0 ? rowEqualTo(page.substr(i, length), kGreaterLessMap) : 0;
        if (decoded != 0) {
            out += static_cast<char>(decoded);
            i += length;
        } else {
            const char c = page[i++];
            out += toSmall && c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        }
    }
    return out;
}

inline bool standsAt(const std::string& page, std::size_t i, const std::string& delimiter,
                     bool ignoreCase) {
    if (i + delimiter.size() > page.size() || page[i] != delimiter[0]) return false;
    const std::string found = page.substr(i, delimiter.size());
    return ignoreCase ? strcasecmp(found.c_str(), delimiter.c_str()) == 0 : found == delimiter;
}

inline std::string deletionPass(const std::string& page, const std::string& start,
                                const std::string& stop, bool ignoreCase, Moments& moments) {
    std::string out;
    for (std::size_t i = 0; i < page.size();) {
        if (i % 1000 == 0) moments.push_back({out, page.substr(i)});
        std::size_t end = page.size();
        if (standsAt(page, i, start, ignoreCase)) {
            end = i + start.size();
            while (end < page.size() && !standsAt(page, end, stop, ignoreCase)) ++end;
        }
        if (end < page.size()) {
            if (out.empty() || out.back() != ' ') out += ' ';
            i = end + stop.size();
        } else {
            out += page[i++];
        }
    }
    return out;
}

}  // namespace siftwell::slow
