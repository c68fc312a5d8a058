// The road from a page's markup to its text.
//
// Threads: any. Errors: none; what is no markup comes through as text.
#pragma once

#include <optional>
#include <string>

#include "text/Yield.h"

namespace siftwell {

struct PageText {
    std::optional<std::string> title;  // from the markup, in its own letters
    std::string readable;              // without markup, in its own letters and punctuation
    std::string indexText;             // the same in small letters; its title is left out of both
};

// `page` is valid UTF-8. Linear in its length, whatever it contains; yields from every pass.
PageText extractPageText(std::string page, const Yield& whilePerforming);

}  // namespace siftwell
