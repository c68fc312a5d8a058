#include "cli/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::size_t terminalWidth() {
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

void write(FILE* file, std::string_view text) { std::fwrite(text.data(), 1, text.size(), file); }

}  // namespace

Console::Console() : m_isErrorTerminal(isatty(STDERR_FILENO) == 1) {}

void Console::print(std::string_view line) const {
    write(stdout, line);
    write(stdout, "\n");
}

void Console::message(std::string_view line) {
    clearProgress();
    write(stderr, line);
    write(stderr, "\n");
}

void Console::showProgress(const std::string& line) {
    if (!m_isErrorTerminal) return;
    const std::string_view visible = utf8Prefix(line, terminalWidth() - 1);
    clearProgress();
    write(stderr, visible);
    std::fflush(stderr);
    m_progressWidth = visible.size();
}

void Console::clearProgress() {
    if (m_progressWidth == 0) return;
    write(stderr, "\r\033[K");
    m_progressWidth = 0;
}

std::string grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
    return text;
}

std::string humanBytes(std::uint64_t bytes) {
    constexpr std::array<const char*, 4> kUnits = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000) return std::to_string(bytes) + " B";
    double size = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; size >= 999.95 && unit + 1 < kUnits.size(); ++unit) size /= 1000;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", size, kUnits[unit]);
    return text.data();
}

std::string printable(std::string_view text) {
    std::string result;
    const std::string repaired = repairedUtf8(text);
    for (std::size_t at = 0; at < repaired.size();) {
        const Utf8Character next = utf8CharacterAt(repaired, at);
        const bool isControl =
            next.character < 0x20 || (next.character >= 0x7F && next.character < 0xA0);
        if (isControl) {
            result += ' ';
        } else {
            result.append(repaired, at, next.bytes);
        }
        at += next.bytes;
    }
    return result;
}

}  // namespace siftwell
