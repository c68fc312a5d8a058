#include "sources/archives/ArchivedURLResponse.h"

#include <algorithm>
#include <span>

#include "sources/archives/ArchivedValues.h"
#include "text/Ascii.h"
#include "text/Utf8.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

std::string headerField(const HeaderFields& fields, std::string_view name) {
    for (const auto& [candidate, value] : fields) {
        if (equalsIgnoringCase(candidate, name)) return value;
    }
    return {};
}

// Of "text/html; charset=UTF-8".
std::optional<std::string> typeIn(std::string_view contentType) {
    const std::string_view type = trimmingWhiteSpace(contentType.substr(0, contentType.find(';')));
    const bool isType = type.find('/') != std::string_view::npos &&
                        type.find_first_of(" :") == std::string_view::npos &&
                        asciiPrefix(type) == type.size();
    return isType ? std::optional(lowerCasedAscii(type)) : std::nullopt;
}

std::optional<std::string> characterSetIn(std::string_view contentType) {
    constexpr std::string_view kName = "charset=";
    const std::size_t at = lowerCasedAscii(contentType).find(kName);
    if (at == std::string_view::npos) return std::nullopt;
    std::string_view name = contentType.substr(at + kName.size());
    name = trimmingWhiteSpace(name.substr(0, name.find(';')));
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
        name = name.substr(1, name.size() - 2);
    }
    return name.empty() ? std::nullopt : std::optional<std::string>(name);
}

std::optional<std::int64_t> lengthIn(std::string_view text) {
    const auto length = wholeNumberIn<std::int64_t>(trimmingWhiteSpace(text));
    return length && *length >= 0 ? length : std::nullopt;
}

// Puts a response together from the values of an object.
class ResponseReader {
public:
    ResponseReader(const ObjectArchive& archive, const ArchivedObject& object)
        : m_archive(archive),
          m_values(std::span(object.values).first(std::min(object.values.size(), kMaxParts))) {}

    std::optional<URLResponse> read() {
        std::size_t at = 0;
        std::optional<Url> url;
        for (; at < m_values.size() && !url; ++at) url = urlIn(m_archive, m_values[at]);
        if (!url || !url->hasScheme()) return std::nullopt;
        URLResponse response{.url = *std::move(url)};
        readType(at, response);
        readHeader(at, response);
        return response;
    }

private:
    std::optional<std::int64_t> numberAt(std::size_t at) const {
        return at < m_values.size() ? integerIn(m_archive, m_values[at]) : std::nullopt;
    }
    std::optional<std::string_view> stringAt(std::size_t at) const {
        return at < m_values.size() ? stringIn(m_archive, m_values[at]) : std::nullopt;
    }

    static void setLength(std::optional<std::int64_t> length, URLResponse& response) {
        if (length && *length >= 0) response.expectedContentLength = length;
    }

    void readType(std::size_t from, URLResponse& response) const {
        for (std::size_t at = from; at < m_values.size() && !response.mimeType; ++at) {
            const auto text = stringAt(at);
            if (!text) continue;
            response.mimeType = typeIn(*text);
            if (!response.mimeType) continue;
            setLength(numberAt(at + 1), response);
            const auto encoding = stringAt(at + 2);
            if (encoding && isValidUtf8(*encoding)) response.textEncodingName = *encoding;
        }
    }

    void readHeader(std::size_t from, URLResponse& response) const {
        constexpr std::int64_t kLowestStatus = 100;
        constexpr std::int64_t kHighestStatus = 599;
        std::size_t at = from;
        while (at < m_values.size() && !isKindOf(m_archive, m_values[at], "NSDictionary")) ++at;
        if (at == m_values.size()) return;
        const auto status = numberAt(at - 1);
        if (status && *status >= kLowestStatus && *status <= kHighestStatus) {
            response.statusCode = static_cast<int>(*status);
        }
        const HeaderFields fields = headerFieldsIn(dictionaryIn(m_archive, m_values[at]));
        const std::string type = headerField(fields, "Content-Type");
        if (!response.mimeType) response.mimeType = typeIn(type);
        if (!response.textEncodingName) response.textEncodingName = characterSetIn(type);
        setLength(numberAt(at + 1), response);
        if (!response.expectedContentLength) {
            setLength(lengthIn(headerField(fields, "Content-Length")), response);
        }
    }

    const ObjectArchive& m_archive;
    std::span<const ArchivedValue> m_values;
};

}  // namespace

HeaderFields headerFieldsIn(const PropertyList::Dictionary& dictionary) {
    HeaderFields fields;
    for (const auto& [name, value] : dictionary) {
        if (const auto* const text = value.asString()) fields[name] = *text;
    }
    return fields;
}

std::optional<URLResponse> responseIn(const ObjectArchive& archive, const ArchivedValue& value) {
    if (!isKindOf(archive, value, "NSURLResponse")) return std::nullopt;
    return ResponseReader(archive, *objectIn(archive, value)).read();
}

}  // namespace siftwell
