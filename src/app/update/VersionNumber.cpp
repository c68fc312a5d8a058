#include "app/update/VersionNumber.h"

#include <algorithm>

#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::string_view kSeparators = ".-_";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return asciiLower(c) >= 'a' && asciiLower(c) <= 'z'; }
bool isWord(std::string_view part) { return !part.empty() && isLetter(part.front()); }

std::strong_ordering compareParts(std::string_view a, std::string_view b) {
    if (isWord(a) != isWord(b)) {
        return isWord(a) ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    if (!isWord(a) && a.size() != b.size()) return a.size() <=> b.size();
    return a <=> b;
}

// The digits or letters at the front.
std::string_view runAtFront(std::string_view text) {
    const auto isOther = isDigit(text.front()) ? [](char c) { return !isDigit(c); }
                                               : [](char c) { return !isLetter(c); };
    const auto end = std::find_if(text.begin(), text.end(), isOther);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

}  // namespace

std::optional<VersionNumber> VersionNumber::parse(std::string_view text) {
    if (text.size() > kMaxLength || std::none_of(text.begin(), text.end(), isDigit)) {
        return std::nullopt;
    }
    if (asciiLower(text.front()) == 'v' && isDigit(text[1])) text.remove_prefix(1);
    VersionNumber version;
    while (!text.empty()) {
        const char c = text.front();
        if (kSeparators.find(c) != std::string_view::npos) {
            text.remove_prefix(1);
        } else if (isDigit(c) || isLetter(c)) {
            const std::string_view part = runAtFront(text);
            version.add(part);
            text.remove_prefix(part.size());
        } else {
            return std::nullopt;
        }
    }
    version.dropZeroes();
    return version;
}

void VersionNumber::add(std::string_view part) {
    if (isWord(part)) {
        dropZeroes();
        m_parts.push_back(lowerCasedAscii(part));
    } else {
        m_parts.emplace_back(part.substr(std::min(part.find_first_not_of('0'), part.size())));
    }
}

void VersionNumber::dropZeroes() {
    while (!m_parts.empty() && m_parts.back().empty()) m_parts.pop_back();
}

std::strong_ordering VersionNumber::operator<=>(const VersionNumber& other) const {
    const auto partAt = [](const std::vector<std::string>& parts, std::size_t i) {
        return i < parts.size() ? std::string_view(parts[i]) : std::string_view();
    };
    for (std::size_t i = 0; i < std::max(m_parts.size(), other.m_parts.size()); ++i) {
        const auto order = compareParts(partAt(m_parts, i), partAt(other.m_parts, i));
        if (order != std::strong_ordering::equal) return order;
    }
    return std::strong_ordering::equal;
}

}  // namespace siftwell
