// ScanWatch follows a scan to its end, in this process or in another one, with progress on a
// terminal.
//
// Threads: main, whose loop is served meanwhile.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>

#include "cli/Commands.h"
#include "cli/DriverCommand.h"

namespace siftwell {

// Pages per second, over the last few seconds.
class PageRate {
public:
    using Moment = std::chrono::steady_clock::time_point;

    void add(Moment now, std::uint64_t pages);
    double perSecond() const;

private:
    std::deque<std::pair<Moment, std::uint64_t>> m_samples;
};

class ScanWatch {
public:
    // From here on SIGINT and SIGTERM end the watch and not the program, and what is added counts.
    // All that is given outlives the watch.
    ScanWatch(const ReachedCopy& reached, const CommandContext& context);

    // Starts a scan and follows it; says what it did, or what became of it.
    ExitStatus scan(Driver::ScanScope scope);

    bool isFinished() const { return m_isFinished; }  // neither refused nor left off

    // Pages that came into an index since the watch began; of another process, by how many they
    // became more.
    std::uint64_t added() const;

private:
    using ScanState = Driver::ScanState;

    Status poll();
    Status follow();
    bool isDone() const;
    bool isLeftOff() const;
    std::string progressLine();
    std::string runningSources();
    ExitStatus explainLoss(const Status& status);
    ExitStatus explainStart(const Status& status);
    ExitStatus explainEnd();

    WritingCopy& m_copy;
    const ErrorList& m_errors;
    const CommandContext& m_context;
    const std::size_t m_errorsBefore;
    const std::size_t m_indexErrorsBefore;
    const std::shared_ptr<bool> m_isInterrupted = std::make_shared<bool>(false);
    std::uint64_t m_additions = 0;
    NotificationCentre::Observation m_observation;
    ScanState m_before;
    ScanState m_state;
    std::uint64_t m_endedWhenDone = 0;
    bool m_isFinished = false;
    PageRate m_rate;
};

}  // namespace siftwell
