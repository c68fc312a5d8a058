// HttpResponseHead gathers the lines of a response's head.
//
// Threads: one. Errors: none; what is malformed is not there.
#pragma once

#include <optional>
#include <string_view>

#include "records/URLRequest.h"

namespace siftwell {

class HttpResponseHead {
public:
    enum class Line { Field, End };
    // One line after the other, with or without its end; a status line begins a new head.
    Line add(std::string_view line);

    int status() const { return m_status; }
    bool isInterim() const { return m_status < 200; }
    bool isRedirect() const { return m_status >= 300 && m_status < 400 && m_hasLocation; }
    // How many times the body was encoded, one after the other.
    int codings() const { return m_codings; }
    // Whether the server, or a proxy, wants to know who is there.
    bool isChallenge() const { return (m_status == 401 || m_status == 407) && m_hasChallenge; }

    URLResponse response(const Url& url) const;

private:
    void begin(std::string_view statusLine);
    void addField(std::string_view name, std::string_view value);

    int m_status = 0;
    bool m_hasLocation = false;
    bool m_hasChallenge = false;
    int m_codings = 0;
    std::optional<std::int64_t> m_length;
    std::string m_contentType;
};

// The parts of a Content-Type: the type in small letters, and the character set as it is written,
// without quotation marks. Either may be missing.
struct ContentType {
    std::optional<std::string> mimeType;
    std::optional<std::string> charset;
};
ContentType parseContentType(std::string_view value);

}  // namespace siftwell
