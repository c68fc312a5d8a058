#include "text/HTMLProcessor.h"

#include "text/HtmlQueries.h"
#include "text/Needle.h"
#include "text/Utf8.h"

namespace siftwell {

HTMLProcessor::HTMLProcessor(std::string page) : m_text(std::move(page)) {
    if (!isValidUtf8(m_text)) m_text.clear();
}

std::optional<std::string> HTMLProcessor::title() const {
    const std::size_t tag = Needle("<title", Needle::Letters::AnyCase).find(m_text);
    if (tag == std::string::npos) return std::nullopt;
    const std::size_t tagEnd = m_text.find('>', tag);
    if (tagEnd == std::string::npos) return std::nullopt;
    const std::size_t end = m_text.find('<', tagEnd);
    if (end == std::string::npos) return std::nullopt;
    return cleanTitle(std::string_view(m_text).substr(tagEnd + 1, end - tagEnd - 1));
}

}  // namespace siftwell
