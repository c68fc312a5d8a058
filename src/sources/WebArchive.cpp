#include "sources/WebArchive.h"

#include <utility>

#include "base/PropertyListFormat.h"

namespace siftwell {

namespace {

std::optional<std::string> textFor(const PropertyList::Dictionary& dictionary,
                                   std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    if (value == nullptr || value->asString() == nullptr) return std::nullopt;
    return *value->asString();
}

std::optional<WebResource> resourceIn(const PropertyList& value) {
    const auto* dictionary = value.asDictionary();
    if (dictionary == nullptr) return std::nullopt;
    const PropertyList* data = find(*dictionary, "WebResourceData");
    auto url = Url::parse(stringFor(*dictionary, "WebResourceURL"));
    if (!url || data == nullptr || data->asData() == nullptr) return std::nullopt;
    return WebResource{.url = *std::move(url),
                       .mimeType = textFor(*dictionary, "WebResourceMIMEType"),
                       .textEncodingName = textFor(*dictionary, "WebResourceTextEncodingName"),
                       .data = data->asData()->bytes};
}

// What `read` makes of the elements of the array under the key.
template <typename Made>
std::vector<Made> elementsFor(const PropertyList::Dictionary& dictionary, std::string_view key,
                              std::optional<Made> (*read)(const PropertyList&)) {
    const PropertyList* value = find(dictionary, key);
    if (value == nullptr || value->asArray() == nullptr) return {};
    std::vector<Made> all;
    for (const PropertyList& element : *value->asArray()) {
        if (auto made = read(element)) all.push_back(*std::move(made));
    }
    return all;
}

std::optional<WebArchive> archiveIn(const PropertyList& value) {
    const auto* dictionary = value.asDictionary();
    if (dictionary == nullptr) return std::nullopt;
    const PropertyList* main = find(*dictionary, "WebMainResource");
    auto mainResource = main == nullptr ? std::nullopt : resourceIn(*main);
    if (!mainResource) return std::nullopt;
    return WebArchive{
        .mainResource = *std::move(mainResource),
        .subresources = elementsFor(*dictionary, "WebSubresources", resourceIn),
        .subframeArchives = elementsFor(*dictionary, "WebSubframeArchives", archiveIn)};
}

}  // namespace

std::optional<WebArchive> WebArchive::initWithData(std::string_view bytes) {
    const auto list = parsePropertyList(bytes);
    return list ? archiveIn(*list) : std::nullopt;
}

}  // namespace siftwell
