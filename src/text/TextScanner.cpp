#include "text/TextScanner.h"

#include <algorithm>

#include "text/Ascii.h"
#include "text/Needle.h"
#include "text/Utf8.h"

namespace siftwell {

std::optional<std::string_view> TextScanner::scanUpTo(std::string_view token) {
    const std::string_view before = scanUpToOrEnd(token);
    return m_rest.empty() ? std::nullopt : std::optional(before);
}

std::string_view TextScanner::scanUpToOrEnd(std::string_view token) {
    const std::string_view from = trimmingLeadingWhiteSpace(m_rest);
    const std::size_t found =
        std::min(Needle(token, Needle::Letters::AnyCase).find(from), from.size());
    m_rest = from.substr(found);
    return from.substr(0, found);
}

std::optional<std::string_view> TextScanner::scanPast(std::string_view token) {
    const auto before = scanUpTo(token);
    if (before) m_rest.remove_prefix(token.size());
    return before;
}

bool TextScanner::scan(std::string_view token) {
    const std::string_view from = trimmingLeadingWhiteSpace(m_rest);
    if (!equalsIgnoringCase(from.substr(0, token.size()), token)) return false;
    m_rest = from.substr(token.size());
    return true;
}

std::string_view TextScanner::scanUpToAnyOf(std::string_view characters) {
    const std::string_view from = trimmingLeadingWhiteSpace(m_rest);
    const std::size_t end = std::min(from.find_first_of(characters), from.size());
    m_rest = from.substr(end);
    return from.substr(0, end);
}

}  // namespace siftwell
