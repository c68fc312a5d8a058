// Url: the address of a page or file, kept exactly as it was written.
//
// Accepts what the platform's parser accepts: blanks, control and non-ASCII characters and broken
// percent escapes are refused. A text without a scheme is a relative address.
//
// Threads: a value. Errors: none; what is no address is not parsed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace siftwell {

// The text with every byte escaped that no address may hold: blanks, control characters, and what
// is not ASCII.
std::string percentEncoded(std::string_view text);

class Url {
public:
    static std::optional<Url> parse(std::string_view text);

    // The file URL of an absolute path of any bytes: "/tmp/a b" -> "file:///tmp/a%20b".
    static Url fromFilePath(std::string_view path);

    const std::string& absoluteString() const { return m_text; }
    std::string scheme() const { return m_text.substr(0, m_schemeLength); }  // "" when relative
    bool hasScheme() const { return m_schemeLength > 0; }
    bool isFile() const;  // scheme "file", in any letter case

    // Everything behind "scheme:"; the whole of a relative address.
    std::string resourceSpecifier() const;

    const std::optional<std::string>& host() const { return m_host; }

    // Percent escapes decoded, trailing slashes dropped; none for an opaque address ("mailto:a@b"),
    // empty where the address ends with its host. May be any bytes, not only UTF-8.
    const std::optional<std::string>& path() const { return m_path; }

    std::string lastPathComponent() const;  // of path(); "" without one, "/" for the root
    std::string pathExtension() const;      // of path(), as written

    // `reference` as seen from this address; none when it is no address.
    std::optional<Url> resolved(std::string_view reference) const;

    bool operator==(const Url& other) const { return m_text == other.m_text; }
    auto operator<=>(const Url& other) const { return m_text <=> other.m_text; }

private:
    explicit Url(std::string text) : m_text(std::move(text)) {}

    bool readParts();
    bool readHost();

    std::string m_text;
    std::size_t m_schemeLength = 0;
    std::optional<std::string> m_host;
    std::optional<std::string> m_path;
};

}  // namespace siftwell
