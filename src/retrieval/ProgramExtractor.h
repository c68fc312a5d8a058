// ProgramExtractor: the text of PDF, RTF and DOC files, read by programs that are made for it.
//
// These programs meet files from anywhere, and are taken to be in the files' hands: each runs for
// one file, confined by siftwell-confined (30 seconds, 512 MB, no network, no write access), and
// what it writes is bounded and mended. Without confinement none is run.
//
// Threads: any, each waits for its own program.
// Errors: a program that is not installed, and confinement that does not work, are reported once; a
// file that cannot be read goes to the log.
#pragma once

#include <optional>
#include <set>
#include <stop_token>
#include <string>

#include "base/Mutex.h"
#include "base/Processes.h"
#include "base/SWNotifier.h"
#include "index/ContentExtractor.h"

namespace siftwell {

class ProgramExtractor : public ContentExtractor {
public:
    static constexpr std::size_t kMaxTextBytes = std::size_t{64} << 20;  // what follows is left out

    // Borrows both.
    ProgramExtractor(Processes& processes, SWNotifier& notifier,
                     std::string launcher = installedLauncher());

    // By the file's extension, in any letter case.
    std::optional<std::string> textOf(const Url& file) override;

    // Ends the programs that run; from now on there is no text.
    void stop() { m_stop.request_stop(); }

    // siftwell-confined beside the running program or in its place after installation.
    static std::string installedLauncher();

private:
    struct Reader;

    static const Reader* readerFor(const std::string& path);
    std::optional<std::string> run(const Reader& reader, const std::string& program,
                                   const Url& file);
    static std::optional<std::string> textIn(const Reader& reader,
                                             const Processes::Outcome& outcome, const Url& file);
    void reportOnce(const std::string& about, const std::string& error, const Url& file,
                    const std::string& details);

    Processes& m_processes;
    SWNotifier& m_notifier;
    const std::string m_launcher;
    std::stop_source m_stop;
    Mutex m_mutex;
    std::set<std::string> m_reported SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
