// Console: results to standard output, messages and progress to standard error.
//
// Threads: main.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Alerts.h"
#include "base/Status.h"
#include "text/Printable.h"  // whoever prints what comes from outside needs it

namespace siftwell {

class Console {
public:
    Console();

    void print(std::string_view line) const;     // standard output
    void message(std::string_view line);         // standard error, below the progress line
    void showProgress(const std::string& line);  // overwrites itself; nothing without a terminal
    void clearProgress();
    bool isProgressShown() const { return m_isErrorTerminal; }

    // What a person sees at once has more to it than what another program reads.
    bool isOutputTerminal() const { return m_isOutputTerminal; }
    std::size_t outputColumns() const;
    bool isBoldShown() const;  // the terminal knows how

    // Whether a person sits there who can be asked.
    bool canAsk() const;
    // The position of the button that was chosen, the first one for an empty line; none when there
    // is no more input. Signals end the program meanwhile.
    std::optional<std::size_t> ask(const Alert& alert);

    // Whether all that was printed has arrived. A reader that went away does not count as a
    // failure.
    Status flush() const;

private:
    const bool m_isErrorTerminal;
    const bool m_isOutputTerminal;
    std::size_t m_progressWidth = 0;
};

// "12,345".
std::string grouped(std::uint64_t number);

std::string pageCount(std::uint64_t count);  // "1 page", "12,345 pages"
std::string fileCount(std::uint64_t count);  // "1 file", "12,345 files"

// A command that changes nothing may be ended at any moment, and so may one that asks; others that
// write end by themselves.
void letSignalsEndTheProgram();

// "1.2 MB".
std::string humanBytes(std::uint64_t bytes);

// "[####----------------]  20%".
std::string progressBar(std::uint64_t done, std::uint64_t of);

}  // namespace siftwell
