#include "base/Url.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

#include "base/Files.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxLength = 8'000'000;  // what the URL library takes

struct HandleDeleter {
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};
using Handle = std::unique_ptr<CURLU, HandleDeleter>;

constexpr unsigned kParseFlags = CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS | CURLU_NO_AUTHORITY;

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool isSchemeCharacter(char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
}

// Printable ASCII without the blank, and "%" only where an escape follows.
bool hasOnlyAddressCharacters(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c <= ' ' || c >= 0x7F) return false;
        if (c == '%' &&
            (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2]))) {
            return false;
        }
    }
    return true;
}

std::size_t schemeLength(std::string_view text) {
    if (text.empty() || !isLetter(text.front())) return 0;
    const auto end = std::find_if_not(text.begin(), text.end(), isSchemeCharacter);
    if (end == text.end() || *end != ':') return 0;
    return static_cast<std::size_t>(end - text.begin());
}

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    return (c | 0x20) - 'a' + 10;
}

void appendEscape(std::string& text, char c) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    text += '%';
    text += kHex[byte >> 4];
    text += kHex[byte & 15];
}

std::string percentDecoded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            result += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::optional<std::string> part(CURLU* handle, CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(handle, which, &text, 0) != CURLUE_OK) return std::nullopt;
    const std::unique_ptr<char, void (*)(void*)> owner(text, curl_free);
    return std::string(text);
}

std::string_view pathOf(std::string_view behindAuthority) {
    return behindAuthority.substr(0, behindAuthority.find_first_of("?#"));
}

}  // namespace

std::string percentEncoded(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        if (c > ' ' && c < 0x7F) {
            encoded += c;
        } else {
            appendEscape(encoded, c);
        }
    }
    return encoded;
}

std::optional<Url> Url::parse(std::string_view text) {
    if (text.empty() || text.size() > kMaxLength || !hasOnlyAddressCharacters(text)) {
        return std::nullopt;
    }
    Url url{std::string(text)};
    if (!url.readParts()) return std::nullopt;
    return url;
}

Url Url::fromFilePath(std::string_view path) {
    constexpr std::string_view kPlain = "-._~/!$&'()*+,=:@";
    std::string text = "file://";
    for (const char c : path) {
        if (isLetter(c) || isDigit(c) || kPlain.find(c) != std::string_view::npos) {
            text += c;
        } else {
            appendEscape(text, c);
        }
    }
    Url url(std::move(text));
    url.m_schemeLength = 4;
    url.m_path = withoutTrailingSlash(std::string(path));
    return url;
}

// Hierarchical addresses are taken apart by the URL library; what stands behind the colon of any
// other is opaque.
bool Url::readParts() {
    m_schemeLength = schemeLength(m_text);
    const std::string_view specifier =
        std::string_view(m_text).substr(m_schemeLength == 0 ? 0 : m_schemeLength + 1);
    if (specifier.starts_with("//")) {
        const std::size_t slash = specifier.find_first_of("/?#", 2);
        // Without an authority the library would take the first folder for the host, and refuse a
        // folder of a file's path that looks like a drive ("file:///c:/").
        const bool hasAuthority = slash != 2;
        if (hasAuthority && !readHost()) return false;
        const std::string_view path =
            slash == std::string_view::npos ? std::string_view() : pathOf(specifier.substr(slash));
        m_path = withoutTrailingSlash(percentDecoded(path));
    } else if (!hasScheme() || specifier.starts_with('/')) {
        m_path = withoutTrailingSlash(percentDecoded(pathOf(specifier)));
    }
    return true;
}

bool Url::readHost() {
    const std::string whole = hasScheme() ? m_text : "http:" + m_text;
    const Handle handle(curl_url());
    if (handle == nullptr ||
        curl_url_set(handle.get(), CURLUPART_URL, whole.c_str(), kParseFlags) != CURLUE_OK) {
        return false;
    }
    m_host = part(handle.get(), CURLUPART_HOST);
    if (m_host && m_host->empty()) m_host.reset();
    return true;
}

bool Url::isFile() const {
    constexpr std::string_view kFile = "file";
    return m_schemeLength == kFile.size() &&
           std::equal(kFile.begin(), kFile.end(), m_text.begin(),
                      [](char expected, char c) { return expected == (c | 0x20); });
}

std::string Url::resourceSpecifier() const {
    return hasScheme() ? m_text.substr(m_schemeLength + 1) : m_text;
}

std::string Url::lastPathComponent() const {
    if (!m_path || m_path->empty()) return {};
    return siftwell::lastPathComponent(*m_path);
}

std::string Url::pathExtension() const {
    if (!m_path || m_path->empty()) return {};
    return siftwell::pathExtension(*m_path);
}

std::optional<Url> Url::resolved(std::string_view reference) const {
    if (reference.size() > kMaxLength || !hasOnlyAddressCharacters(reference)) return std::nullopt;
    if (schemeLength(reference) > 0) return parse(reference);
    if (hasScheme() && (reference.empty() || reference.front() == '#')) {
        return parse(m_text.substr(0, m_text.find('#')).append(reference));
    }
    const Handle handle(curl_url());
    const std::string text(reference);
    if (handle == nullptr ||
        curl_url_set(handle.get(), CURLUPART_URL, m_text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK ||
        curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK) {
        return std::nullopt;
    }
    const auto whole = part(handle.get(), CURLUPART_URL);
    return whole ? parse(*whole) : std::nullopt;
}

}  // namespace siftwell
