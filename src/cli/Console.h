// Console: results to standard output, messages and progress to standard error.
//
// Threads: main.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace siftwell {

class Console {
public:
    Console();

    void print(std::string_view line) const;     // standard output
    void message(std::string_view line);         // standard error, below the progress line
    void showProgress(const std::string& line);  // overwrites itself; nothing without a terminal
    void clearProgress();

    bool isErrorTerminal() const { return m_isErrorTerminal; }

private:
    const bool m_isErrorTerminal;
    std::size_t m_progressWidth = 0;
};

// "12,345".
std::string grouped(std::uint64_t number);

// "1.2 MB".
std::string humanBytes(std::uint64_t bytes);

// The text without what would move a terminal's cursor or change its colours.
std::string printable(std::string_view text);

}  // namespace siftwell
