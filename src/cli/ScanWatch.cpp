#include "cli/ScanWatch.h"

#include <algorithm>
#include <csignal>
#include <string>

#include "base/Translate.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kBetweenLooks(100);
constexpr milliseconds kBetweenRemoteLooks(250);
constexpr std::chrono::seconds kRateSpan(5);
constexpr std::size_t kMaxSources = 3;  // that are named while they are scanned

std::uint64_t rise(std::uint64_t before, std::uint64_t now) {
    return now > before ? now - before : 0;
}

}  // namespace

void PageRate::add(Moment now, std::uint64_t pages) {
    m_samples.emplace_back(now, pages);
    while (m_samples.size() > 2 && now - m_samples.front().first > kRateSpan) m_samples.pop_front();
}

double PageRate::perSecond() const {
    if (m_samples.size() < 2) return 0;
    const auto& [start, before] = m_samples.front();
    const auto& [end, now] = m_samples.back();
    const double seconds = std::chrono::duration<double>(end - start).count();
    return seconds > 0 ? static_cast<double>(rise(before, now)) / seconds : 0;
}

ScanWatch::ScanWatch(const ReachedCopy& reached, const CommandContext& context)
    : m_copy(reached.copy),
      m_errors(reached.errors),
      m_context(context),
      m_errorsBefore(reached.errors.size()),
      m_indexErrorsBefore(reached.errors.indexErrors()),
      m_observation(reached.centre.observe("SiftwellStatusAddURLNotification",
                                           [this](const PropertyList& added) {
                                               // Lists tell what was there before.
                                               if (added.asDictionary() != nullptr) ++m_additions;
                                           })) {
    for (const int signal : {SIGINT, SIGTERM}) {
        // The loop keeps the task for longer than this watch lasts.
        context.mainLoop.watchSignal(signal, [flag = m_isInterrupted] { *flag = true; });
    }
    m_copy.waitUntilIndexingIsEnabled();
    // What cannot be asked now shows when the scan is started.
    if (const auto state = m_copy.driver().scanState()) m_before = m_state = *state;
}

std::uint64_t ScanWatch::added() const {
    if (!m_copy.isOtherProcess()) return m_additions;
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(0, m_state.documents - m_before.documents));
}

ExitStatus ScanWatch::scan(Driver::ScanScope scope) {
    if (Status status = poll(); !status.isOk()) return explainLoss(status);
    m_before.finishedDocuments = m_state.finishedDocuments;
    // A scan that runs already may have passed what is to be scanned.
    m_endedWhenDone = m_state.ended + (m_state.isScanning ? 2 : 1);
    if (Status status = m_copy.driver().startScan(scope); !status.isOk()) {
        return explainStart(status);
    }
    const Status status = follow();
    m_context.mainLoop.turn(milliseconds(0));  // the last reports
    m_context.console.clearProgress();
    return status.isOk() ? explainEnd() : explainLoss(status);
}

Status ScanWatch::follow() {
    const bool isOther = m_copy.isOtherProcess();
    Status status = poll();
    while (status.isOk() && !isDone() && !isLeftOff()) {
        if (m_context.console.isProgressShown()) m_context.console.showProgress(progressLine());
        m_context.mainLoop.turnUntil(
            [&] {
                if (!isOther) status = poll();
                return !status.isOk() || (!isOther && isDone()) || isLeftOff();
            },
            isOther ? kBetweenRemoteLooks : kBetweenLooks);
        if (isOther && !isLeftOff()) status = poll();
    }
    return status;
}

Status ScanWatch::poll() {
    const auto state = m_copy.driver().scanState();
    if (state) m_state = *state;
    return state.status();
}

// Between two scans that follow one another there is a moment without any. A list may name other
// sources for its pages than itself; the scan does not wait for those.
bool ScanWatch::isDone() const {
    if (m_state.isLoading) return false;
    if (m_state.ended > m_endedWhenDone) return true;
    return m_state.ended == m_endedWhenDone && !m_state.isScanning;
}

// Also when the index cannot take more. One that could not be opened in the first place is told
// again by its source, and the others are read all the same.
bool ScanWatch::isLeftOff() const {
    const bool isIndexFull = m_indexErrorsBefore == 0 && m_errors.indexErrors() > 0;
    return *m_isInterrupted || (!m_copy.isOtherProcess() && isIndexFull);
}

std::string ScanWatch::runningSources() {
    const auto status = m_copy.driver().status();
    const PropertyList* items = status ? find(*status, "runningItems") : nullptr;
    if (items == nullptr || items->asArray() == nullptr) return "";
    const PropertyList::Array& names = *items->asArray();
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMaxSources); ++i) {
        const std::string* name = names[i].asString();
        if (name != nullptr) text += (text.empty() ? "" : ", ") + *name;
    }
    return names.size() > kMaxSources ? text + ", …" : text;
}

std::string ScanWatch::progressLine() {
    const std::uint64_t done = rise(m_before.finishedDocuments, m_state.finishedDocuments);
    m_rate.add(steady_clock::now(), done);
    const auto pending =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, m_state.pendingDocuments));
    std::string line =
        filledIn(_("Scanning: %@ done, %@ to come, %@ per second"), pageCount(done),
                 grouped(pending), grouped(static_cast<std::uint64_t>(m_rate.perSecond())));
    if (m_errors.size() > m_errorsBefore) {
        line += filledIn(_(", errors: %@"), grouped(m_errors.size() - m_errorsBefore));
    }
    const std::string sources = runningSources();
    return printable(sources.empty() ? line : line + " (" + sources + ")");
}

// The copy that scans does not answer any more.
ExitStatus ScanWatch::explainLoss(const Status& status) {
    const ExitStatus end = explainFailure(status, m_context.console);
    return m_copy.isOtherProcess() ? ExitStatus::InTheWay : end;
}

// Without a network the copy answers still.
ExitStatus ScanWatch::explainStart(const Status& status) {
    if (status.code() != StatusCode::NotFound || !poll().isOk()) return explainLoss(status);
    m_context.console.message("siftwell: " + printable(status.message()));
    m_context.console.message(_("To read what needs no network: siftwell scan --offline"));
    return ExitStatus::SomeFailed;
}

ExitStatus ScanWatch::explainEnd() {
    Console& console = m_context.console;
    if (isLeftOff() && m_copy.isOtherProcess()) {
        console.message(_("The running copy goes on with the scan."));
        return ExitStatus::SomeFailed;
    }
    if (isLeftOff()) {
        console.message(_("Left off. What was added stays; run the same command again to go on."));
        return ExitStatus::SomeFailed;
    }
    m_isFinished = true;
    console.message(filledIn(_("%@ added, %@ looked at."), pageCount(added()),
                             grouped(rise(m_before.finishedDocuments, m_state.finishedDocuments))));
    if (!m_state.wasLastComplete) console.message(_("The scan did not run to its end."));
    return m_state.wasLastComplete && m_errors.size() == m_errorsBefore ? ExitStatus::Done
                                                                        : ExitStatus::SomeFailed;
}

}  // namespace siftwell
