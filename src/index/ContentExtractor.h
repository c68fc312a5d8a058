// ContentExtractor: the text of a file that the program cannot read itself. What stands behind it
// is made above.
//
// Threads: any; may take as long as it needs, since no lock is held.
#pragma once

#include <optional>
#include <string>

#include "base/Url.h"

namespace siftwell {

class ContentExtractor {
public:
    virtual ~ContentExtractor() = default;

    // UTF-8; none when there is no text to be had.
    virtual std::optional<std::string> textOf(const Url& file) = 0;
};

}  // namespace siftwell
