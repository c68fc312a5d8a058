// What all forms of the Chrome family's cache hold: keys, times, and heads of responses.
//
// Threads: pure functions. Errors: input is hostile; none for what is damaged.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Date.h"
#include "text/HttpResponseHead.h"

namespace siftwell {

constexpr std::size_t kMaxChromiumHeadBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxChromiumKeyBytes = std::size_t{1} << 20;

// The address that was asked for with GET: "1/0/_dk_http://top.frame http://frame http://page/" is
// in the newest form, "http://page/" in the oldest. None for what forms were sent to, and for the
// parts of what is kept in parts.
std::optional<std::string_view> addressInChromiumKey(std::string_view key);

// Microseconds since 1601. One of whole seconds stands for the whole second; what is no date of a
// visit (see DateCount) is long past.
Date chromiumDate(std::int64_t microseconds);

struct ChromiumResponse {
    HttpResponseHead head;
    Date received;
};

// A stored response (version 3 of its form, which is in use since 2012) without those parts of it
// that follow the head. None when its body was cut short.
std::optional<ChromiumResponse> readChromiumResponse(std::string_view bytes);

}  // namespace siftwell
