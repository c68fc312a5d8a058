// What an HTTP status means, in the user's language.
#pragma once

#include <string>

namespace siftwell {

std::string localizedStringForStatusCode(int status);

}  // namespace siftwell
