#include "retrieval/RSSFeedRepresentation.h"

#include "base/Log.h"
#include "retrieval/FeedConverter.h"
#include "text/HtmlQueries.h"

namespace siftwell {

void RSSFeedRepresentation::receivedData(std::string_view data) {
    // One byte too many is kept, so that the converter sees that it is too large.
    constexpr std::size_t kLimit = 2 * kMaxFeedBytes + 1;
    m_data += data.substr(0, kLimit - m_data.size());
}

void RSSFeedRepresentation::receivedError(int code, std::string_view description) {
    if (code == kLoadCancelled) return;
    writeLog("receivedError " + std::string(description));
    m_hasFailed = true;
    m_data = {};
}

void RSSFeedRepresentation::finishedLoading() {
    if (m_hasFailed || !m_dataSource) return;
    auto page = convertFeed(m_data, m_dataSource->textEncodingName, m_dataSource->url);
    if (!page) {
        writeLog(m_dataSource->url.absoluteString() + ": " + page.status().message());
    }
    m_htmlData = page ? *std::move(page) : std::string();
    m_data = {};
}

std::optional<std::string> RSSFeedRepresentation::title() const {
    constexpr std::string_view kAmpersand = "&amp;";
    auto title = m_htmlData ? HTMLTitle(*m_htmlData) : std::nullopt;
    if (!title) return std::nullopt;
    for (std::size_t at = title->find(kAmpersand); at != std::string::npos;
         at = title->find(kAmpersand, at + 1)) {
        title->replace(at, kAmpersand.size(), "&");
    }
    return title;
}

}  // namespace siftwell
