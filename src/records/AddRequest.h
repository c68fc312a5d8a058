// AddRequest: a page on its last step into the index.
#pragma once

#include <optional>
#include <string>

#include "base/Date.h"
#include "base/Url.h"

namespace siftwell {

struct AddRequest {
    std::string content;  // the index text: lower case, letters and digits; required, non-empty
    std::string
        readable;  // the same words as a person reads them, kept for snippets and rebuilding
    Url url;
    std::string source;
    std::string indexer;
    std::optional<Date> date;
    std::optional<std::string> title;
    std::optional<std::string> cachePath;
};

}  // namespace siftwell
