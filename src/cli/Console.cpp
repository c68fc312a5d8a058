#include "cli/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "base/Translate.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

std::size_t terminalWidth(int descriptor) {
    winsize size{};
    const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

void write(FILE* file, std::string_view text) { std::fwrite(text.data(), 1, text.size(), file); }

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM}) sigaddset(&signals, signal);
    return signals;
}

// Texts of windows part their paragraphs with carriage returns.
std::string withLineFeeds(std::string text) {
    std::replace(text.begin(), text.end(), '\r', '\n');
    return text;
}

// The number of a line of `count` ones, or none.
std::optional<std::size_t> choiceIn(std::string_view line, std::size_t count) {
    if (line.empty()) return 0;
    if (line.size() != 1 || line[0] < '1') return std::nullopt;
    const auto choice = static_cast<std::size_t>(line[0] - '1');
    return choice < count ? std::optional(choice) : std::nullopt;
}

}  // namespace

Console::Console()
    : m_isErrorTerminal(isatty(STDERR_FILENO) == 1),
      m_isOutputTerminal(isatty(STDOUT_FILENO) == 1) {}

std::size_t Console::outputColumns() const { return terminalWidth(STDOUT_FILENO); }

bool Console::isBoldShown() const {
    const char* const terminal = std::getenv("TERM");
    return m_isOutputTerminal && terminal != nullptr && *terminal != '\0' &&
           std::string_view(terminal) != "dumb";
}

void Console::print(std::string_view line) const {
    write(stdout, line);
    write(stdout, "\n");
}

Status Console::flush() const {
    errno = 0;
    const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (isWritten || errno == EPIPE) return {};
    return Status::fromErrno(errno == 0 ? EIO : errno, "write the results");
}

void Console::message(std::string_view line) {
    clearProgress();
    write(stderr, line);
    write(stderr, "\n");
}

void Console::showProgress(const std::string& line) {
    if (!m_isErrorTerminal) return;
    const std::string_view visible = utf8Prefix(line, terminalWidth(STDERR_FILENO) - 1);
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

bool Console::canAsk() const { return m_isErrorTerminal && isatty(STDIN_FILENO) == 1; }

std::optional<std::size_t> Console::ask(const Alert& alert) {
    message(alert.title);
    if (!alert.text.empty()) message(withLineFeeds(alert.text));
    for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
        message("  " + std::to_string(i + 1) + "  " + alert.buttons[i]);
    }
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::optional<std::size_t> choice;
    std::string line;
    while (!choice) {
        write(stderr, filledIn(_("Your choice [%@]: "), "1"));
        if (!std::getline(std::cin, line)) break;
        choice = choiceIn(trimmingWhiteSpace(line), alert.buttons.size());
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return choice;
}

void letSignalsEndTheProgram() {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

std::string grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
    return text;
}

std::string pageCount(std::uint64_t count) {
    return count == 1 ? _("1 page") : filledIn(_("%@ pages"), grouped(count));
}

std::string fileCount(std::uint64_t count) {
    return count == 1 ? _("1 file") : filledIn(_("%@ files"), grouped(count));
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

std::string progressBar(std::uint64_t done, std::uint64_t of) {
    constexpr std::uint64_t kWidth = 20;
    const std::uint64_t hundredths = of == 0 ? 100 : std::min(done, of) * 100 / of;
    const std::uint64_t filled = hundredths * kWidth / 100;
    std::array<char, 8> percent{};
    std::snprintf(percent.data(), percent.size(), "%3u%%", static_cast<unsigned>(hundredths));
    return "[" + std::string(filled, '#') + std::string(kWidth - filled, '-') + "] " +
           percent.data();
}

}  // namespace siftwell
