// When files were changed, links not followed.
//
// Threads: any.
#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "base/Date.h"

namespace siftwell {

Date dateOf(const timespec& time);

// Of the file itself, or of the link that stands there; none when there is nothing, or it cannot be
// examined.
std::optional<Date> modificationDateOfLinkAtPath(const std::string& path);

}  // namespace siftwell
