// Reading and writing numbers in bytes: little-endian, or in groups of seven bits (varints).
//
// Readers never step over their end: after a failed read, and from then on, every value is 0 and
// isOk() is false. So a parser reads a whole record and asks once.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace siftwell::fulltext {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand");

template <typename Number>
Number loadNumber(const void* from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
}

template <typename Number>
void appendNumber(std::string& bytes, Number number) {
    char raw[sizeof number];
    std::memcpy(raw, &number, sizeof number);
    bytes.append(raw, sizeof number);
}

inline void appendVarint(std::string& bytes, std::uint64_t number) {
    while (number >= 0x80) {
        bytes += static_cast<char>(number | 0x80);
        number >>= 7;
    }
    bytes += static_cast<char>(number);
}

// What copies and unpacks in whole words reads so many bytes too many, whatever they hold.
inline constexpr std::size_t kReadSlack = 16;

inline constexpr std::size_t kMaxVarintBytes = 10;
inline constexpr std::size_t kMaxVarint32Bytes = 5;

// Writes where there is room for a varint; the byte behind it. Most take one byte or two, without a
// branch that could be guessed wrong.
inline char* writeVarint(char* to, std::uint64_t number) {
    if (number < 0x4000) {
        const std::uint64_t isLong = number >= 0x80 ? 1 : 0;
        const auto both =
            static_cast<std::uint16_t>((number & 0x7F) | isLong << 7 | number >> 7 << 8);
        std::memcpy(to, &both, sizeof both);
        return to + 1 + isLong;
    }
    while (number >= 0x80) {
        *to++ = static_cast<char>(number | 0x80);
        number >>= 7;
    }
    *to++ = static_cast<char>(number);
    return to;
}

inline std::string_view asView(const std::uint8_t* data, std::size_t size) {
    const void* anonymous = data;
    return {static_cast<const char*>(anonymous), size};
}

inline const std::uint8_t* asBytes(std::string_view view) {
    const void* anonymous = view.data();
    return static_cast<const std::uint8_t*>(anonymous);
}

// Brings bytes that are looked at here and there into the cache, all at once.
inline void prefetch(std::string_view bytes) {
    constexpr std::size_t kCacheLine = 64;
    for (std::size_t at = 0; at < bytes.size(); at += kCacheLine) {
        __builtin_prefetch(bytes.data() + at);
    }
}

class ByteReader {
public:
    ByteReader() = default;
    explicit ByteReader(std::string_view bytes)
        : m_at(asBytes(bytes)), m_end(m_at + bytes.size()) {}

    template <typename Number>
    Number number() {
        if (remaining() < sizeof(Number)) return fail<Number>();
        const auto value = loadNumber<Number>(m_at);
        m_at += sizeof(Number);
        return value;
    }

    std::uint32_t varint32() {
        const std::uint64_t value = varint64();
        return value <= 0xFFFFFFFF ? static_cast<std::uint32_t>(value) : fail<std::uint32_t>();
    }

    std::uint64_t varint64() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64 && m_at != m_end; shift += 7) {
            const std::uint8_t byte = *m_at++;
            value |= std::uint64_t{byte & 0x7Fu} << shift;
            if (byte < 0x80) return value;
        }
        return fail<std::uint64_t>();
    }

    std::string_view bytes(std::size_t count) {
        if (remaining() < count) return fail<std::string_view>();
        const std::string_view view = asView(m_at, count);
        m_at += count;
        return view;
    }

    std::string_view rest() { return bytes(remaining()); }
    std::size_t remaining() const { return static_cast<std::size_t>(m_end - m_at); }
    bool isOk() const { return m_isOk; }
    bool isAtEnd() const { return m_isOk && m_at == m_end; }

private:
    template <typename Value>
    Value fail() {
        m_isOk = false;
        m_at = m_end;
        return Value{};
    }

    const std::uint8_t* m_at = nullptr;
    const std::uint8_t* m_end = nullptr;
    bool m_isOk = true;
};

}  // namespace siftwell::fulltext
