#include "base/Translate.h"

#include <libintl.h>

#include <clocale>

#include "base/Paths.h"

namespace siftwell {

namespace {

constexpr const char* kDomain = "siftwell";

// Where the next placeholder of `pattern` begins and how long it is; length 0 at the end.
struct Placeholder {
    std::size_t begin = std::string_view::npos;
    std::size_t length = 0;
};

Placeholder nextPlaceholder(std::string_view pattern) {
    for (std::size_t at = 0; (at = pattern.find('%', at)) != std::string_view::npos; ++at) {
        const std::string_view rest = pattern.substr(at);
        if (rest.starts_with("%@") || rest.starts_with("%d") || rest.starts_with("%f")) {
            return {at, 2};
        }
        if (rest.starts_with("%ld")) return {at, 3};
    }
    return {};
}

}  // namespace

void useLanguageOfEnvironment() {
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");  // numbers in JSON and commands have a point
    bindtextdomain(kDomain, (programFolder() + "/../share/locale").c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
    textdomain(kDomain);
}

std::string localized(const std::string& english) {
    if (english.empty()) return {};  // gettext would answer the catalogue's header
    return dgettext(kDomain, english.c_str());
}

Filled& Filled::with(std::string_view text) {
    const Placeholder placeholder = nextPlaceholder(m_rest);
    if (placeholder.length == 0) return *this;
    m_done.append(m_rest, 0, placeholder.begin);
    m_done.append(text);
    m_rest.erase(0, placeholder.begin + placeholder.length);
    return *this;
}

}  // namespace siftwell
