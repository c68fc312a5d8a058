#include "sources/caches/ChromiumResponse.h"

#include <algorithm>

#include "sources/StoredNumbers.h"
#include "sources/browsers/BrowserRows.h"
#include "sources/caches/CachedResponse.h"

namespace siftwell {

namespace {

// Flags of a stored response.
constexpr std::uint32_t kVersionMask = 0xFF;
constexpr std::uint32_t kVersion = 3;
constexpr std::uint32_t kIsTruncated = 1U << 12;
constexpr std::uint32_t kHasMoreFlags = 1U << 31;
// Of those that follow.
constexpr std::uint32_t kHasOriginalTime = 1U << 2;

// A number and the slash behind it; nothing is taken where there is none.
std::optional<std::string_view> takeNumber(std::string_view& key) {
    const std::size_t end = key.find_first_not_of("0123456789");
    if (end == 0 || end == std::string_view::npos || key[end] != '/') return std::nullopt;
    const std::string_view number = key.substr(0, end);
    key.remove_prefix(end + 1);
    return number;
}

// Takes values one after the other; what is missing spoils the rest.
class Values {
public:
    explicit Values(std::string_view bytes) : m_bytes(bytes) {}

    template <typename Number>
    Number take() {
        const auto number = littleEndianAt<Number>(m_bytes, 0);
        m_isSound = m_isSound && number;
        m_bytes.remove_prefix(std::min(sizeof(Number), m_bytes.size()));
        return number.value_or(0);
    }

    std::string_view takeText() {
        const auto length = take<std::uint32_t>();
        m_isSound = m_isSound && length <= m_bytes.size();
        return m_isSound ? m_bytes.substr(0, length) : std::string_view();
    }

    bool isSound() const { return m_isSound; }

private:
    std::string_view m_bytes;
    bool m_isSound = true;
};

}  // namespace

std::optional<std::string_view> addressInChromiumKey(std::string_view key) {
    const auto first = takeNumber(key);
    const auto second = takeNumber(key);
    // The last number is that of the data which were sent along.
    const auto sent = second ? second : first;
    if (sent && sent->find_first_not_of('0') != std::string_view::npos) return std::nullopt;
    if (key.starts_with("Range_")) return std::nullopt;
    return key.substr(key.rfind(' ') + 1);  // all of it without a blank
}

Date chromiumDate(std::int64_t microseconds) {
    const auto date = kChromeDates.date(microseconds);
    return date ? endOfSecond(*date) : Date::distantPast();
}

std::optional<ChromiumResponse> readChromiumResponse(std::string_view bytes) {
    const auto length = littleEndianAt<std::uint32_t>(bytes, 0);
    if (!length || *length > bytes.size() - sizeof(*length)) return std::nullopt;
    Values values(bytes.substr(sizeof(*length), *length));
    const auto flags = values.take<std::uint32_t>();
    const auto more = (flags & kHasMoreFlags) != 0 ? values.take<std::uint32_t>() : 0;
    if ((flags & kVersionMask) != kVersion || (flags & kIsTruncated) != 0) return std::nullopt;
    const Date asked = chromiumDate(values.take<std::int64_t>());
    const Date answered = chromiumDate(values.take<std::int64_t>());
    if ((more & kHasOriginalTime) != 0) values.take<std::int64_t>();
    const std::string_view head = values.takeText();
    if (!values.isSound()) return std::nullopt;
    return ChromiumResponse{headWithLines(head, '\0'), std::max(asked, answered)};
}

}  // namespace siftwell
