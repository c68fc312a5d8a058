// Unicode normal forms.
#pragma once

#include <string>
#include <string_view>

namespace siftwell {

// The precomposed form (NFC); bytes that are not UTF-8 stay as they are.
std::string composed(std::string_view text);

}  // namespace siftwell
