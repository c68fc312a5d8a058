#include "text/LeadingInteger.h"

#include <charconv>
#include <limits>

#include "text/Utf8.h"

namespace siftwell {

std::int64_t leadingInteger(std::string_view text) {
    using Limits = std::numeric_limits<std::int64_t>;
    text = trimmingLeadingWhiteSpace(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc::result_out_of_range) return value;
    return text.starts_with('-') ? Limits::min() : Limits::max();
}

}  // namespace siftwell
