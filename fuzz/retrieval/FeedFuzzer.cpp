// Any bytes (behind the first line) as a feed, with any name (the first line) for their encoding.
// Whatever they are, the page has no other markup than its own, and its links lead to pages and
// feeds.

#include <array>
#include <string>

#include "Require.h"
#include "retrieval/FeedConverter.h"
#include "retrieval/FeedDate.h"
#include "text/Ascii.h"
#include "text/HtmlQueries.h"
#include "text/Utf8.h"

namespace {

using namespace siftwell;
using fuzz::require;

constexpr std::string_view kLink = "<a href=\"";
constexpr std::array<std::string_view, 21> kMarkup = {"<!DOCTYPE html>",
                                                      "<html>",
                                                      "<head>",
                                                      "<meta ",
                                                      "<style>",
                                                      "</style>",
                                                      "<title>",
                                                      "</title>",
                                                      "</head>",
                                                      "<body>",
                                                      "</body>",
                                                      "</html>",
                                                      "<h1>",
                                                      "</h1>",
                                                      "<h2>",
                                                      "</h2>",
                                                      "</a>",
                                                      "<p>",
                                                      "</p>",
                                                      kLink,
                                                      "<p class=\"date\">"};

bool isOwnMarkup(std::string_view text) {
    for (const std::string_view markup : kMarkup) {
        if (text.starts_with(markup)) return true;
    }
    return false;
}

void checkLink(std::string_view behindQuote) {
    const std::string address = lowerCasedAscii(behindQuote.substr(0, behindQuote.find('"')));
    require(address.starts_with("http:") || address.starts_with("https:") ||
            address.starts_with("feed:"));
    require(behindQuote.substr(address.size()).starts_with("\">"));
}

void checkPage(std::string_view page) {
    require(isValidUtf8(page) && page.ends_with("</html>\n"));
    for (std::size_t at = page.find('<'); at != std::string_view::npos;
         at = page.find('<', at + 1)) {
        const std::string_view rest = page.substr(at);
        require(isOwnMarkup(rest));
        if (rest.starts_with(kLink)) checkLink(rest.substr(kLink.size()));
    }
    require(HTMLTitle(page).has_value());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto [name, bytes] = fuzz::atFirstLineEnd(fuzz::asText(data, size));
    const auto encodingName = name.empty() ? std::nullopt : std::optional(std::string(name));
    const std::string text = decodeFeed(bytes, encodingName);
    require(isValidUtf8(text));
    shownFeedDate(text);

    const Url url = *Url::parse("http://host/folder/feed.xml");
    const auto page = convertFeed(bytes, encodingName, url);
    require(page.isOk() == readFeed(text, url).isOk());
    if (page) checkPage(*page);
    return 0;
}
