// RSSFeedRepresentation gathers a feed as it arrives and presents it as a page.
//
// Threads: one. Errors: a feed that fails to load leaves no page, one that cannot be understood an
// empty one; both are logged.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "records/URLRequest.h"

namespace siftwell {

inline constexpr int kLoadCancelled = -999;

class RSSFeedRepresentation {
public:
    // Where the feed comes from; says its address and the name of its encoding.
    void setDataSource(URLResponse dataSource) { m_dataSource = std::move(dataSource); }

    void receivedData(std::string_view data);

    // Whoever cancels a load knows; every other error is logged and ends the feed.
    void receivedError(int code, std::string_view description);

    void finishedLoading();

    bool canProvideDocumentSource() const { return m_htmlData.has_value(); }

    // The page in UTF-8; "" for a feed that is none.
    const std::optional<std::string>& documentSource() const { return m_htmlData; }

    std::optional<std::string> title() const;

private:
    std::optional<URLResponse> m_dataSource;
    std::string m_data;
    bool m_hasFailed = false;
    std::optional<std::string> m_htmlData;
};

}  // namespace siftwell
