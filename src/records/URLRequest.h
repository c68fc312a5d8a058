// URLRequest and URLResponse: what is asked of a server, and the head of what it answers.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "base/Url.h"

namespace siftwell {

using HeaderFields = std::map<std::string, std::string>;  // names as they are written

struct URLRequest {
    Url url;
    std::optional<Url> mainDocumentURL;
    HeaderFields allHTTPHeaderFields;
    std::string HTTPMethod = "GET";
    std::string HTTPBody;
    std::uint64_t cachePolicy = 0;  // of the protocol
    // The longest time in which nothing arrives.
    std::chrono::duration<double> timeoutInterval = std::chrono::seconds(60);
    bool HTTPShouldHandleCookies = true;
};

struct URLResponse {
    Url url;
    std::optional<std::string> mimeType;                // in small letters, without parameters
    std::optional<std::int64_t> expectedContentLength;  // bytes, as announced
    std::optional<std::string> textEncodingName;        // as the server spells it
    std::optional<int> statusCode;                      // of an HTTP response
};

}  // namespace siftwell
