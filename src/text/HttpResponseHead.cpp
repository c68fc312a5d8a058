#include "text/HttpResponseHead.h"

#include <algorithm>

#include "text/Ascii.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string_view unquoted(std::string_view value) {
    if (!value.starts_with('"')) return value;
    value.remove_prefix(1);
    return value.substr(0, value.find('"'));
}

// Those that change the bytes.
void addCodings(std::string_view list, std::vector<std::string>& codings) {
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        std::string coding = lowerCasedAscii(trimmed(list.substr(0, comma)));
        if (!coding.empty() && coding != "identity" && coding != "chunked") {
            codings.push_back(std::move(coding));
        }
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
}

}  // namespace

ContentType parseContentType(std::string_view value) {
    ContentType parts;
    std::size_t end = value.find(';');
    const std::string type = lowerCasedAscii(trimmed(value.substr(0, end)));
    if (!type.empty()) parts.mimeType = type;
    while (end != std::string_view::npos && !parts.charset) {
        value.remove_prefix(end + 1);
        end = value.find(';');
        const std::string_view parameter = trimmed(value.substr(0, end));
        const std::size_t equals = parameter.find('=');
        if (equals == std::string_view::npos ||
            lowerCasedAscii(trimmed(parameter.substr(0, equals))) != "charset") {
            continue;
        }
        const std::string_view charset = unquoted(trimmed(parameter.substr(equals + 1)));
        if (!charset.empty()) parts.charset = charset;
    }
    return parts;
}

HttpResponseHead::Line HttpResponseHead::add(std::string_view line) {
    line = trimmed(line);
    if (line.empty()) return Line::End;
    const std::size_t colon = line.find(':');
    if (line.starts_with("HTTP/")) {
        begin(line);
    } else if (colon != std::string_view::npos) {
        addField(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
    }
    return Line::Field;
}

void HttpResponseHead::begin(std::string_view statusLine) {
    *this = {};
    const std::size_t blank = statusLine.find(' ');
    if (blank == std::string_view::npos) return;
    m_status = wholeNumberIn<int>(statusLine.substr(blank + 1, 3)).value_or(0);
}

void HttpResponseHead::addField(std::string_view name, std::string_view value) {
    const std::string field = lowerCasedAscii(name);
    if (field == "location") m_hasLocation = !value.empty();
    if (field == "content-encoding") addCodings(value, m_contentCodings);
    if (field == "transfer-encoding") addCodings(value, m_transferCodings);
    if (field == "content-range") m_hasContentRange = true;
    if (field == "www-authenticate" || field == "proxy-authenticate") m_hasChallenge = true;
    if (field == "content-length") m_length = wholeNumberIn<std::int64_t>(value);
    if (field == "content-type") m_contentType = value;
}

}  // namespace siftwell
