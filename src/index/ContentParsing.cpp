#include "index/ContentParsing.h"

#include <utility>

#include "text/Alphanumeric.h"
#include "text/HtmlQueries.h"
#include "text/PageText.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

bool isMarkup(const PageContent& page) {
    return page.mimeType == "text/html" || isHTML(page.content) || isRSS(page.content);
}

std::optional<std::string> combinedTitle(const std::optional<std::string>& given,
                                         const std::optional<std::string>& found) {
    if (!found || found->empty()) return given;
    return given && !given->empty() ? *given + " " + *found : found;
}

// Appends the same words to both forms of the text.
void appendWords(PageText& text, const std::string& words) {
    text.indexText += ' ';
    text.indexText += words;
    text.readable += ' ';
    text.readable += words;
}

}  // namespace

std::optional<AddRequest> parseContent(PageContent page, bool isReadableFile, const Yield& yield) {
    PageText text;
    if (isMarkup(page)) {
        text = extractPageText(std::move(page.content), yield);
        page.title = combinedTitle(page.title, text.title);
    } else if (isReadableFile) {
        text.readable = page.content;
        text.indexText = std::move(page.content);
    } else {
        return std::nullopt;
    }
    if (page.title) appendWords(text, repairedUtf8(*page.title));
    if (page.url.path()) appendWords(text, repairedUtf8(*page.url.path()));
    if (!page.url.isFile() && page.url.host()) appendWords(text, *page.url.host());
    reduceToAlphanumeric(text.indexText, yield);
    return AddRequest{.content = std::string(trimmingWhiteSpace(text.indexText)),
                      .readable = std::move(text.readable),
                      .url = std::move(page.url),
                      .source = std::move(page.source),
                      .indexer = std::move(page.indexer),
                      .date = page.date,
                      .title = std::move(page.title),
                      .cachePath = std::move(page.cachePath)};
}

}  // namespace siftwell
