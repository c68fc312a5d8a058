#include "sources/caches/CachedResponse.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "base/Url.h"
#include "sources/caches/BrowserCache.h"
#include "sources/caches/ContentDecoding.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr int kOk = 200;

bool isWebAddress(std::string_view address) {
    const auto url = Url::parse(address);
    return url && url->host() && !url->host()->empty() &&
           (equalsIgnoringCase(url->scheme(), "http") ||
            equalsIgnoringCase(url->scheme(), "https"));
}

// What a browser shows as a page; what pages are made of is none, and neither is a feed.
bool isTypeOfPages(std::string_view type) {
    constexpr std::array<std::string_view, 2> kApplications = {"application/xhtml+xml",
                                                               "application/xml"};
    constexpr std::array<std::string_view, 4> kParts = {"text/css", "text/event-stream", "text/vtt",
                                                        "text/cache-manifest"};
    const auto isOneOf = [type](const auto& types) {
        return std::find(types.begin(), types.end(), type) != types.end();
    };
    if (type.starts_with("text/")) return !isOneOf(kParts) && !type.ends_with("script");
    return isOneOf(kApplications);
}

}  // namespace

bool CachedResponse::isPage() const {
    if (head.status() != kOk || head.isPartOfBody()) return false;
    if (bodyBytes > BrowserCache::kMaxPageBytes) return false;
    const auto length = head.contentLength();
    if (length && (*length < 0 || static_cast<std::uint64_t>(*length) != bodyBytes)) return false;
    const auto type = head.contentType().mimeType;
    return type && isTypeOfPages(*type) && isWebAddress(url);
}

std::optional<CachedPage> CachedResponse::pageWith(std::string body) const {
    if (!isPage() || body.size() != bodyBytes) return std::nullopt;
    auto data = decodedContent(std::move(body), head.contentCodings(), BrowserCache::kMaxPageBytes);
    if (!data) return std::nullopt;
    ContentType type = head.contentType();
    return CachedPage{.url = url,
                      .mimeType = std::move(type.mimeType).value_or(""),
                      .textEncodingName = std::move(type.charset),
                      .data = *std::move(data),
                      .lastUsed = lastUsed};
}

HttpResponseHead headWithLines(std::string_view text, char separator) {
    HttpResponseHead head;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (head.add(text.substr(0, end)) == HttpResponseHead::Line::End) break;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return head;
}

Date endOfSecond(Date time) {
    constexpr double kLastOfSecond = 0.999999;
    const double seconds = time.secondsSinceReference();
    return seconds == std::floor(seconds) ? time + kLastOfSecond : time;
}

}  // namespace siftwell
