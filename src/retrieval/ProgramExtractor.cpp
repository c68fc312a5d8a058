#include "retrieval/ProgramExtractor.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/Files.h"
#include "base/Log.h"
#include "base/Paths.h"
#include "base/Translate.h"
#include "text/Ascii.h"
#include "text/PageText.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr int kNotConfined = 125;  // the launcher's own exit status

std::vector<std::string> environmentOfReaders() {
    const char* const path = std::getenv("PATH");
    return {std::string("PATH=") + (path == nullptr ? "/usr/bin:/bin" : path), "LC_ALL=C.UTF-8",
            "HOME=/nonexistent"};  // one of them complains when it has none
}

std::string textOfMarkup(std::string markup) {
    PageText page = extractPageText(std::move(markup), [] {});
    return page.title ? *page.title + "\n" + page.readable : std::move(page.readable);
}

}  // namespace

// A program that reads one kind of file.
struct ProgramExtractor::Reader {
    const char* extension;
    const char* program;
    const char* package;
    std::vector<std::string> options;
    std::vector<std::string> optionsBehind;  // the path
    bool writesMarkup = false;
};

const ProgramExtractor::Reader* ProgramExtractor::readerFor(const std::string& path) {
    static const std::vector<Reader> readers = {
        {"pdf", "pdftotext", "poppler-utils", {"-enc", "UTF-8", "-q", "-nopgbrk"}, {"-"}},
        // As plain text it would write ASCII alone, with "?" for all other letters.
        {"rtf", "unrtf", "unrtf", {"--html", "--quiet", "--nopict"}, {}, true},
        {"doc", "antiword", "antiword", {"-m", "UTF-8.txt", "-w", "0"}, {}}};
    const std::string extension = lowerCasedAscii(pathExtension(path));
    const auto reader = std::find_if(readers.begin(), readers.end(), [&](const Reader& each) {
        return extension == each.extension;
    });
    return reader == readers.end() ? nullptr : &*reader;
}

ProgramExtractor::ProgramExtractor(Processes& processes, SWNotifier& notifier, std::string launcher)
    : m_processes(processes), m_notifier(notifier), m_launcher(std::move(launcher)) {}

std::string ProgramExtractor::installedLauncher() {
    const std::string beside = programFolder() + "/siftwell-confined";
    return fileInfo(beside) ? beside : programFolder() + "/" SIFTWELL_LAUNCHER;
}

std::optional<std::string> ProgramExtractor::textOf(const Url& file) {
    const std::string path = file.isFile() ? file.path().value_or("") : "";
    const Reader* const reader = readerFor(path);
    // No program takes an absolute path for an option or an address.
    if (reader == nullptr || !path.starts_with('/') || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    // A pipe would be waited for.
    const auto info = fileInfo(path);
    if (!info || !info->isRegular) return std::nullopt;
    const auto program = pathOfProgram(reader->program);
    if (program) return run(*reader, *program, file);
    reportOnce(reader->program,
               filledIn(_("Files of type \"%@\" cannot be read without the program \"%@\". Please "
                          "install the package \"%@\"."),
                        reader->extension, reader->program, reader->package),
               file, "");
    return std::nullopt;
}

std::optional<std::string> ProgramExtractor::run(const Reader& reader, const std::string& program,
                                                 const Url& file) {
    Processes::Command command{.arguments = {m_launcher, program},
                               .environment = environmentOfReaders(),
                               .maxOutputBytes = kMaxTextBytes,
                               .timeLimit = std::chrono::seconds(30)};
    auto& arguments = command.arguments;
    arguments.insert(arguments.end(), reader.options.begin(), reader.options.end());
    arguments.push_back(*file.path());
    arguments.insert(arguments.end(), reader.optionsBehind.begin(), reader.optionsBehind.end());

    const auto outcome = m_processes.run(command, m_stop.get_token());
    const bool isUnconfined =
        !outcome || (outcome->end == Processes::End::Exited && outcome->status == kNotConfined);
    if (!isUnconfined) return textIn(reader, *outcome, file);
    reportOnce(m_launcher,
               _("No files are read with other programs, since these cannot be confined."), file,
               outcome ? repairedUtf8(outcome->errors) : outcome.status().message());
    return std::nullopt;
}

std::optional<std::string> ProgramExtractor::textIn(const Reader& reader,
                                                    const Processes::Outcome& outcome,
                                                    const Url& file) {
    const bool isCut = outcome.end == Processes::End::TooLong;
    if (!outcome.isSuccess()) {
        writeLog(std::string(reader.program) + ": " + Processes::description(outcome) + ": " +
                 file.absoluteString() + (isCut ? "; the rest of it is left out" : ""));
        if (!isCut) return std::nullopt;
    }
    std::string text = repairedUtf8(outcome.output);
    if (reader.writesMarkup) text = textOfMarkup(std::move(text));
    if (!trimmingWhiteSpace(text).empty()) return text;
    writeLog(std::string(reader.program) + ": no text: " + file.absoluteString());
    return std::nullopt;
}

void ProgramExtractor::reportOnce(const std::string& about, const std::string& error,
                                  const Url& file, const std::string& details) {
    {
        MutexLock lock(m_mutex);
        if (!m_reported.insert(about).second) return;
    }
    m_notifier.reportError(error, 6, file.absoluteString(), details);
}

}  // namespace siftwell
