#include "search/ResultActions.h"

#include <optional>

#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::optional<Url> urlOf(const ResultRow& row) {
    return row.url.empty() ? std::nullopt : Url::parse(row.url);
}

}  // namespace

bool openInBrowser(const ResultRow& row, Desktop& desktop) {
    const auto url = urlOf(row);
    return url && desktop.open(*url);
}

bool copyURL(const ResultRow& row, Desktop& desktop) {
    const auto url = urlOf(row);
    if (url) desktop.copy(*url, row.url);
    return url.has_value();
}

std::string proposedFilter(const ResultRow& row) {
    const auto url = urlOf(row);
    if (!url) return "";
    return repairedUtf8(url->host().value_or("") + url->path().value_or(""));
}

bool canOpenPreviewed(const std::string& webURL) {
    return !webURL.empty() && webURL != "about:blank";
}

}  // namespace siftwell
