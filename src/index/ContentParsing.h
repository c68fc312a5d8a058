// ContentParsing: from a page's content to what is added to the index.
//
// Threads: any, without any lock. Long work gives way through the callback.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Date.h"
#include "base/Url.h"
#include "records/AddRequest.h"
#include "text/Yield.h"

namespace siftwell {

// A page as it was found.
struct PageContent {
    std::string content;  // UTF-8
    Url url;
    std::optional<Date> date;
    std::optional<std::string> title;      // as the source knows it
    std::optional<std::string> cachePath;  // of a local copy
    std::string source;
    std::string indexer;
    std::optional<std::string> mimeType;
};

// The request to add the page; none when it is no markup and its file type cannot be read either
// (`isReadableFile`). The page's own words are followed by those of its title, path and host.
std::optional<AddRequest> parseContent(PageContent page, bool isReadableFile, const Yield& yield);

}  // namespace siftwell
