// HttpResponseHead gathers the lines of a response's head.
//
// Threads: one. Errors: none; what is malformed is not there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

// The parts of a Content-Type: the type in small letters, and the character set as it is written,
// without quotation marks. Either may be missing.
struct ContentType {
    std::optional<std::string> mimeType;
    std::optional<std::string> charset;
};
ContentType parseContentType(std::string_view value);

class HttpResponseHead {
public:
    enum class Line { Field, End };
    // One line after the other, with or without its end; a status line begins a new head.
    Line add(std::string_view line);

    int status() const { return m_status; }
    bool isInterim() const { return m_status < 200; }
    bool isRedirect() const { return m_status >= 300 && m_status < 400 && m_hasLocation; }
    // Whether the server, or a proxy, wants to know who is there.
    bool isChallenge() const { return (m_status == 401 || m_status == 407) && m_hasChallenge; }
    bool isPartOfBody() const { return m_hasContentRange; }

    ContentType contentType() const { return parseContentType(m_contentType); }
    std::optional<std::int64_t> contentLength() const { return m_length; }  // bytes, as announced

    // How the body was encoded, one after the other, in small letters; the whole of it, and what
    // was sent of it. What changes no byte is left out.
    const std::vector<std::string>& contentCodings() const { return m_contentCodings; }
    const std::vector<std::string>& transferCodings() const { return m_transferCodings; }

private:
    void begin(std::string_view statusLine);
    void addField(std::string_view name, std::string_view value);

    int m_status = 0;
    bool m_hasLocation = false;
    bool m_hasChallenge = false;
    bool m_hasContentRange = false;
    std::vector<std::string> m_contentCodings;
    std::vector<std::string> m_transferCodings;
    std::optional<std::int64_t> m_length;
    std::string m_contentType;
};

}  // namespace siftwell
