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
    if (!url || (!url->host() && !url->path())) return "";
    const std::string specifier = url->resourceSpecifier();
    std::string_view address = specifier;
    if (address.starts_with("//")) address.remove_prefix(2);
    address = address.substr(0, address.find_first_of("?#"));
    const std::size_t host = address.substr(0, address.find('/')).rfind('@');
    if (host != std::string_view::npos) address.remove_prefix(host + 1);
    return repairedUtf8(address);
}

bool canOpenPreviewed(const std::string& webURL) {
    return !webURL.empty() && webURL != "about:blank";
}

}  // namespace siftwell
