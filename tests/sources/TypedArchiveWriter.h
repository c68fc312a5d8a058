// TypedArchiveWriter: sequential archives for tests, with shared strings and classes as the
// platform writes them.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

class TypedArchiveWriter {
public:
    explicit TypedArchiveWriter(bool isBigEndian = false) : m_isBigEndian(isBigEndian) {
        raw("\x04\x0B").raw(isBigEndian ? "typedstream" : "streamtyped");
        integer(1000);
    }

    const std::string& bytes() const { return m_bytes; }

    TypedArchiveWriter& raw(std::string_view bytes) {
        m_bytes += bytes;
        return *this;
    }

    TypedArchiveWriter& types(const std::string& types) { return sharedString(types); }

    TypedArchiveWriter& integer(std::int64_t value) {
        if (value > -111 && value < 128) return number(static_cast<std::uint64_t>(value), 1);
        const bool isShort = value >= -32768 && value < 32768;
        return raw(isShort ? "\x81" : "\x82")
            .number(static_cast<std::uint64_t>(value), isShort ? 2 : 4);
    }

    TypedArchiveWriter& real(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return raw("\x83").number(bits, 8);
    }

    // Begins an object as the next value; the classes from its own to the highest.
    TypedArchiveWriter& begin(const std::vector<std::string>& classes) {
        types("@").raw("\x84");
        ++m_shared;
        for (const std::string& name : classes) {
            const auto [known, isNew] = m_classes.try_emplace(name, m_shared);
            if (!isNew) return integer(known->second - 110);
            ++m_shared;
            raw("\x84").sharedString(name).integer(0);
        }
        return raw("\x85");
    }
    TypedArchiveWriter& end() { return raw("\x86"); }
    TypedArchiveWriter& nil() { return types("@").raw("\x85"); }

    // The object or class that was written as the `count`th, from 0.
    TypedArchiveWriter& reference(int count) { return types("@").integer(count - 110); }

    TypedArchiveWriter& string(const std::string& text) {
        begin({"NSString", "NSObject"}).types("+").integer(static_cast<int>(text.size()));
        return raw(text).end();
    }
    TypedArchiveWriter& data(const std::string& bytes) {
        begin({"NSMutableData", "NSData", "NSObject"}).types("i");
        integer(static_cast<int>(bytes.size()));
        return types("[" + std::to_string(bytes.size()) + "c]").raw(bytes).end();
    }
    TypedArchiveWriter& url(const std::string& text) {
        return begin({"NSURL", "NSObject"}).types("c").number(0, 1).string(text).end();
    }
    TypedArchiveWriter& numberObject(std::int64_t value) {
        begin({"NSNumber", "NSValue", "NSObject"}).types("*").raw("\x84").sharedString("q");
        ++m_shared;
        return types("q").integer(value).end();
    }
    TypedArchiveWriter& dictionary(const std::map<std::string, std::string>& entries) {
        begin({"NSDictionary", "NSObject"}).types("i").integer(static_cast<int>(entries.size()));
        for (const auto& [key, value] : entries) string(key).string(value);
        return end();
    }

    TypedArchiveWriter& number(std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) {
            const int shift = 8 * (m_isBigEndian ? width - 1 - i : i);
            m_bytes += static_cast<char>(value >> shift & 0xFF);
        }
        return *this;
    }

private:
    TypedArchiveWriter& sharedString(const std::string& text) {
        const auto [known, isNew] = m_strings.try_emplace(text, static_cast<int>(m_strings.size()));
        if (!isNew) return integer(known->second - 110);
        return raw("\x84").integer(static_cast<int>(text.size())).raw(text);
    }

    bool m_isBigEndian;
    std::string m_bytes;
    std::map<std::string, int> m_strings;
    std::map<std::string, int> m_classes;
    int m_shared = 0;
};

}  // namespace siftwell
