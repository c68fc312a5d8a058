#include "app/PreviewDocument.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Files.h"
#include "retrieval/RSSFeedRepresentation.h"
#include "search/PreviewSource.h"
#include "sources/WebArchive.h"
#include "text/Ascii.h"
#include "text/Encodings.h"
#include "text/HtmlQueries.h"
#include "text/MIMEMapper.h"
#include "text/PageBase.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr std::string_view kHtml = "text/html";
constexpr std::string_view kWebArchive = "application/webarchive";
constexpr std::size_t kMostParts = 5000;
constexpr std::size_t kMostFileBytes = std::size_t{64} << 20;

bool isTypeCharacter(char c) {
    c = asciiLower(c);
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
           std::string_view("/+-.").find(c) != std::string_view::npos;
}

// What a server calls its bytes, without parameters; a page when it says nothing.
std::string plainType(const std::optional<std::string>& mimeType) {
    const std::string type = lowerCasedAscii(trimmingWhiteSpace(
        std::string_view(mimeType.value_or("")).substr(0, mimeType.value_or("").find(';'))));
    const bool isType = std::all_of(type.begin(), type.end(), isTypeCharacter);
    return type.empty() || !isType || type == "application/xhtml+xml" ? std::string(kHtml) : type;
}

// Into UTF-8 what the name of its encoding reads; other bytes are left to the web view, which knows
// what a page declares.
void decode(WebResource& resource) {
    if (!resource.textEncodingName || resource.textEncodingName->empty()) {
        const bool isDeclared = HTMLCharSet(resource.data).has_value();
        resource.textEncodingName = isDeclared ? std::nullopt : fileEncodingName(resource.data);
    }
    const auto encoding =
        resource.textEncodingName ? Encoding::named(*resource.textEncodingName) : std::nullopt;
    auto text = encoding ? encoding->decode(resource.data) : std::nullopt;
    if (!text) {
        resource.textEncodingName.reset();
        return;
    }
    resource.data = *std::move(text);
    resource.textEncodingName = "utf-8";
}

void prepare(WebResource& resource) {
    resource.mimeType = plainType(resource.mimeType);
    if (resource.mimeType->starts_with("text/")) decode(resource);
    if (resource.mimeType == kHtml) resource.data = pageWithBase(resource.data, resource.url);
}

void addParts(WebArchive& archive, std::vector<WebResource>& parts) {
    const auto add = [&parts](WebResource& resource) {
        if (parts.size() < kMostParts) parts.push_back(std::move(resource));
    };
    std::for_each(archive.subresources.begin(), archive.subresources.end(), add);
    for (WebArchive& frame : archive.subframeArchives) {
        add(frame.mainResource);
        addParts(frame, parts);
    }
}

std::optional<PreviewDocument> savedPage(const std::string& bytes) {
    auto archive = WebArchive::initWithData(bytes);
    if (!archive) return std::nullopt;
    PreviewDocument document{.page = std::move(archive->mainResource), .parts = {}};
    addParts(*archive, document.parts);
    prepare(document.page);
    std::for_each(document.parts.begin(), document.parts.end(), prepare);
    return document;
}

std::optional<PreviewDocument> documentOf(PreviewBytes&& bytes) {
    if (bytes.mimeType == kWebArchive) return savedPage(bytes.bytes);
    WebResource page{.url = std::move(bytes.baseURL),
                     .mimeType = std::move(bytes.mimeType),
                     .textEncodingName = std::move(bytes.textEncodingName),
                     .data = std::move(bytes.bytes)};
    if (isFeedType(plainType(page.mimeType))) {
        if (auto feed = documentOfFeed(page)) return feed;
        page.mimeType = "text/plain";  // how it was written is all there is to see
    }
    prepare(page);
    return PreviewDocument{.page = std::move(page), .parts = {}};
}

// A picture, say: the web view itself opens no file.
std::optional<PreviewDocument> documentOfFile(const Url& url) {
    const std::string path = url.path().value_or("");
    const auto type = MIMEMapper::sharedMapper().mimeTypeForExtension(url.pathExtension());
    const auto info = fileInfo(path);
    if (!type || !info || !info->isRegular || info->bytes > kMostFileBytes) return std::nullopt;
    auto bytes = readFile(path, kMostFileBytes);
    if (!bytes) return std::nullopt;
    return documentOf({.bytes = *std::move(bytes),
                       .mimeType = std::string(*type),
                       .textEncodingName = std::nullopt,
                       .baseURL = url});
}

bool canBeLoaded(const Url& url) {
    constexpr std::array<std::string_view, 3> kSchemes = {"http", "https", "feed"};
    return std::any_of(kSchemes.begin(), kSchemes.end(), [&url](std::string_view scheme) {
        return equalsIgnoringCase(url.scheme(), scheme);
    });
}

}  // namespace

std::optional<PreviewContent> previewContentOf(const ResultRow& row,
                                               const IndexerFactory& makeIndexer) {
    auto preview = previewOf(row, makeIndexer);
    if (!preview) return std::nullopt;
    if (auto* const bytes = std::get_if<PreviewBytes>(&*preview)) {
        if (auto document = documentOf(std::move(*bytes))) return *std::move(document);
    }
    const auto url = Url::parse(row.url);
    if (url && canBeLoaded(*url)) return *url;
    auto document = url && url->isFile() ? documentOfFile(*url) : std::nullopt;
    return document ? std::optional<PreviewContent>(*std::move(document)) : std::nullopt;
}

bool isFeedType(std::string_view mimeType) {
    constexpr std::array<std::string_view, 4> kTypes = {
        "text/xml", "application/xml", "application/rss+xml", "application/atom+xml"};
    return std::any_of(kTypes.begin(), kTypes.end(), [mimeType](std::string_view type) {
        return equalsIgnoringCase(type, mimeType);
    });
}

std::optional<PreviewDocument> documentOfFeed(const WebResource& feed) {
    RSSFeedRepresentation representation;
    representation.setDataSource({.url = feed.url,
                                  .mimeType = feed.mimeType,
                                  .expectedContentLength = std::nullopt,
                                  .textEncodingName = feed.textEncodingName,
                                  .statusCode = std::nullopt});
    representation.receivedData(feed.data);
    representation.finishedLoading();
    const auto& page = representation.documentSource();
    if (!page || page->empty()) return std::nullopt;
    return PreviewDocument{.page = {.url = feed.url,
                                    .mimeType = std::string(kHtml),
                                    .textEncodingName = "utf-8",
                                    .data = *page},
                           .parts = {}};
}

}  // namespace siftwell
