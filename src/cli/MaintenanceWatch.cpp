#include "cli/MaintenanceWatch.h"

#include <algorithm>

#include "base/Translate.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenLooks(100);
constexpr milliseconds kBetweenRemoteLooks(250);

}  // namespace

MaintenanceWatch::MaintenanceWatch(const ReachedCopy& reached, const CommandContext& context)
    : m_copy(reached.copy), m_context(context) {
    m_copy.waitUntilIndexingIsEnabled();
}

ExitStatus MaintenanceWatch::run(const std::string& progress, const Start& start) {
    Status status = poll();
    const std::uint64_t endedBefore = m_state.ended;
    if (status.isOk()) status = start(m_copy.driver());
    if (status.isOk()) status = follow(progress, endedBefore);
    m_context.mainLoop.turn(milliseconds(0));  // the last reports
    m_context.console.clearProgress();
    if (status.isOk()) status = m_state.result;
    if (status.isOk()) return ExitStatus::Done;
    if (status.code() == StatusCode::NotFound) {
        m_context.console.message("siftwell: " + printable(status.message()));
        return ExitStatus::SomeFailed;
    }
    return explainFailure(status, m_context.console);
}

Status MaintenanceWatch::follow(const std::string& progress, std::uint64_t endedBefore) {
    const bool isOther = m_copy.isOtherProcess();
    Status status = poll();
    while (status.isOk() && m_state.ended == endedBefore) {
        showProgress(progress);
        m_context.mainLoop.turnUntil(
            [&] {
                if (!isOther) status = poll();
                return !status.isOk() || m_state.ended != endedBefore;
            },
            isOther ? kBetweenRemoteLooks : kBetweenLooks);
        if (isOther) status = poll();
    }
    return status;
}

Status MaintenanceWatch::poll() {
    const auto state = m_copy.driver().maintenanceState();
    if (state) m_state = *state;
    return state.status();
}

void MaintenanceWatch::showProgress(const std::string& progress) const {
    const double percent = std::clamp(m_state.percent.value_or(0), 0.0, 100.0);
    m_context.console.showProgress(
        m_state.percent ? progress + " " + progressBar(static_cast<std::uint64_t>(percent), 100)
                        : progress + " …");
}

bool MaintenanceWatch::hasRemoved(const Url& url) const {
    return std::find(m_state.removed.begin(), m_state.removed.end(), url.absoluteString()) !=
           m_state.removed.end();
}

}  // namespace siftwell
