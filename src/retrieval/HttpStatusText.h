// What an HTTP status means: in the user's language, and for whoever would ask again.
#pragma once

#include <string>

namespace siftwell {

std::string localizedStringForStatusCode(int status);

// Whether nothing is there for us, now and later: 401, 403, 407 and 410.
bool forbidsRetrying(int status);

}  // namespace siftwell
