#include "text/EntityTables.h"

#include <algorithm>
#include <cstdint>

#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::size_t kLongest = sizeof(std::uint64_t);

// The bytes of an entity in small letters, as one number.
constexpr std::uint64_t keyOf(std::string_view entity) {
    std::uint64_t key = 0;
    for (const char c : entity) key = key << 8 | static_cast<unsigned char>(asciiLower(c));
    return key;
}

struct Row {
    std::uint64_t key;
    std::size_t place;  // in the table
};

constexpr bool standsBefore(const Row& a, const Row& b) {
    return a.key != b.key ? a.key < b.key : a.place < b.place;
}

// Rows with equal keys stay in the order of the table.
constexpr auto kRowsByKey = [] {
    std::array<Row, kSpecialEncodedCharMap.size()> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i] = {keyOf(kSpecialEncodedCharMap[i].text), i};
    }
    std::sort(rows.begin(), rows.end(), standsBefore);
    return rows;
}();

static_assert(std::all_of(kSpecialEncodedCharMap.begin(), kSpecialEncodedCharMap.end(),
                          [](const Entity& row) { return row.text.size() <= kLongest; }));

}  // namespace

char32_t specialCharIgnoringCase(std::string_view candidate) {
    if (candidate.size() > kLongest) return 0;
    const Row wanted = {keyOf(candidate), 0};
    const auto found = std::lower_bound(kRowsByKey.begin(), kRowsByKey.end(), wanted, standsBefore);
    if (found == kRowsByKey.end() || found->key != wanted.key) return 0;
    return kSpecialEncodedCharMap[found->place].codePoint;
}

}  // namespace siftwell
