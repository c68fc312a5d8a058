// Encodings: bytes of every kind to UTF-8.
//
// What is decoded is valid UTF-8 without the byte-order mark it may have begun with. Bytes that the
// encoding does not allow are not repaired: decoding fails, and a rule below says what is tried
// next.
//
// Threads: any. Errors: none; failure is no text. Names come from pages and servers: one that is
// unknown or no name at all is no encoding. Memory is at most a small multiple of the bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace siftwell {

class Encoding {
public:
    static Encoding latin1() { return Encoding(Kind::Latin1, {}); }
    static Encoding utf8() { return Encoding(Kind::Utf8, {}); }
    static Encoding utf16() { return Encoding(Kind::Converter, "UTF-16"); }  // big end without mark

    // What an IANA name or one of its aliases stands for.
    static std::optional<Encoding> named(const std::string& name);

    std::optional<std::string> decode(std::string_view bytes) const;

    bool operator==(const Encoding&) const = default;

private:
    enum class Kind { Latin1, Utf8, Converter };

    Encoding(Kind kind, std::string converter) : m_kind(kind), m_converter(std::move(converter)) {}

    Kind m_kind;
    std::string m_converter;  // of the Unicode library
};

// ISO Latin-1 when no name or an empty one is given; none for an unknown name.
std::optional<Encoding> encodingForEncodingName(const std::optional<std::string>& name);

// A page that came over the network: by the response's encoding or else as ISO Latin-1, which takes
// any bytes; then once more by the character set that the page declares in that text (HTMLCharSet),
// when it is spelled differently from the response's and takes the bytes. None when no text is
// left.
std::optional<std::string> decodePage(std::string_view bytes,
                                      const std::optional<std::string>& responseEncodingName);

// An object from a cache: the same, but there is no text when the object's encoding fails.
std::optional<std::string> decodeCachedObject(std::string_view bytes,
                                              const std::optional<std::string>& encodingName);

// By the byte-order mark in the first four bytes: UTF-8 or UTF-16, else ISO Latin-1. Fewer than
// four bytes are ISO Latin-1 whatever they are. UTF-32 is taken for UTF-16.
std::optional<std::string> stringByGuessingEncodingFromData(std::string_view bytes);

// The encoding name that goes with a local file's bytes: "utf-8" when they begin with its mark, or
// are valid and not all ASCII; "utf-16" when they begin with its mark; else none.
std::optional<std::string> fileEncodingName(std::string_view bytes);

}  // namespace siftwell
