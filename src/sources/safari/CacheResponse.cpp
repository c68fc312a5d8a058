#include "sources/safari/CacheResponse.h"

#include <utility>

#include "base/PropertyListFormat.h"
#include "sources/browsers/BrowserRows.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::size_t kAddress = 0;
constexpr std::size_t kHeaderFields = 4;
constexpr std::size_t kLength = 5;
constexpr std::size_t kElements = 6;

// The element itself, or what it holds under the key.
std::optional<std::string> textIn(const PropertyList& element, std::string_view key) {
    const auto* members = element.asDictionary();
    const PropertyList* value = members == nullptr ? &element : find(*members, key);
    const std::string* text = value == nullptr ? nullptr : value->asString();
    return text == nullptr ? std::nullopt : std::optional(*text);
}

// The lowest 32 bits.
std::int32_t lengthIn(const PropertyList& element) {
    if (element.asString() != nullptr) return 0;
    return static_cast<std::int32_t>(element.asIntegerLenient().value_or(0));
}

void addContentType(const std::string& contentType, URLResponse& response) {
    constexpr std::string_view kCharset = "charset=";
    const std::size_t semicolon = contentType.find(';');
    response.mimeType = lowerCasedAscii(contentType.substr(0, semicolon));
    if (semicolon == std::string::npos) return;
    const std::string rest = contentType.substr(semicolon + 1);
    const std::size_t charset = lowerCasedAscii(rest).find(kCharset);
    response.textEncodingName =
        charset == std::string::npos ? rest : rest.substr(charset + kCharset.size());
}

}  // namespace

std::optional<CachedURLResponse> cachedResponseWithResponse(std::string_view response,
                                                            std::string data) {
    const auto list = parsePropertyList(response);
    const auto* keys = list ? list->asDictionary() : nullptr;
    const PropertyList* array = keys == nullptr ? nullptr : find(*keys, "Array");
    const auto* elements = array == nullptr ? nullptr : array->asArray();
    if (elements == nullptr || elements->size() < kElements) return std::nullopt;

    const auto address = textIn((*elements)[kAddress], "_CFURLString");
    auto url = address && isTakenAddress(*address) ? Url::parse(*address) : std::nullopt;
    if (!url) return std::nullopt;
    URLResponse head{.url = *std::move(url),
                     .mimeType = std::nullopt,
                     .expectedContentLength = lengthIn((*elements)[kLength]),
                     .textEncodingName = std::nullopt,
                     .statusCode = std::nullopt};
    const auto contentType = textIn((*elements)[kHeaderFields], "Content-Type");
    if (contentType) addContentType(*contentType, head);
    return CachedURLResponse{.data = std::move(data), .response = std::move(head), .userInfo = {}};
}

}  // namespace siftwell
