// Texts for the user: looked up by their English form, with their placeholders filled in order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace siftwell {

// Takes the language of the environment; called once by main().
void useLanguageOfEnvironment();

// The translation of an English text, or the text itself.
std::string localized(const std::string& english);

// Fills each "%@" with the next argument as it stands, and each "%d", "%ld" or "%f" likewise.
// Placeholders without an argument stay; arguments over are dropped.
class Filled {
public:
    explicit Filled(std::string pattern) : m_rest(std::move(pattern)) {}

    Filled& with(std::string_view text);
    Filled& with(std::int64_t number) { return with(std::to_string(number)); }
    std::string text() const { return m_done + m_rest; }

private:
    std::string m_done;
    std::string m_rest;
};

template <typename... Arguments>
std::string filledIn(std::string pattern, const Arguments&... arguments) {
    Filled filled(std::move(pattern));
    (filled.with(arguments), ...);
    return filled.text();
}

}  // namespace siftwell

// Marks a text for translation and looks it up.
#define _(english) ::siftwell::localized(english)  // NOLINT(bugprone-reserved-identifier)
