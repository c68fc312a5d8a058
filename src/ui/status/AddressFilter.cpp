#include "ui/status/AddressFilter.h"

#include <algorithm>
#include <sstream>

#include "base/Url.h"
#include "text/Ascii.h"

namespace siftwell {

AddressFilter::AddressFilter(std::string_view words) {
    std::istringstream stream{std::string(words)};
    for (std::string word; stream >> word;) {
        std::string escaped = percentEncoded(word);
        if (escaped == word) escaped.clear();
        m_words.push_back({lowerCasedAscii(word), lowerCasedAscii(escaped)});
    }
}

bool AddressFilter::matches(std::string_view address) const {
    if (m_words.empty()) return true;
    const std::string lower = lowerCasedAscii(address);
    return std::all_of(m_words.begin(), m_words.end(), [&](const Word& word) {
        return lower.find(word.plain) != std::string::npos ||
               (!word.escaped.empty() && lower.find(word.escaped) != std::string::npos);
    });
}

}  // namespace siftwell
