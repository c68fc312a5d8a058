// TextScanner walks through a text from token to token.
//
// Letter case (of ASCII) does not matter, and white space is passed over before every token. A
// search that finds nothing moves to the end, so that no later one finds anything either and a walk
// costs one reading of the text, however many tokens are asked for.
//
// Threads: one thread; borrows the text. Errors: none.
#pragma once

#include <optional>
#include <string_view>

namespace siftwell {

class TextScanner {
public:
    explicit TextScanner(std::string_view text) : m_rest(text) {}

    bool isAtEnd() const { return m_rest.empty(); }

    // What stands before the next `token`, which comes next then; none when there is no such token.
    std::optional<std::string_view> scanUpTo(std::string_view token);

    // The same, or all that is left when there is no such token.
    std::string_view scanUpToOrEnd(std::string_view token);

    // As scanUpTo(), and passes the token.
    std::optional<std::string_view> scanPast(std::string_view token);

    // Passes the token if it comes next.
    bool scan(std::string_view token);

    // What stands before the next of these characters, or before the end.
    std::string_view scanUpToAnyOf(std::string_view characters);

private:
    std::string_view m_rest;
};

}  // namespace siftwell
