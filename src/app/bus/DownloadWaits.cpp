#include "app/bus/DownloadWaits.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxWaits = 64;
constexpr std::chrono::milliseconds kInterval(50);
constexpr double kLongestSeconds = 600;

}  // namespace

void DownloadWaits::add(std::function<bool()> isDone, double seconds,
                        std::function<void(const Result<bool>&)> answer) {
    if (std::isnan(seconds)) {
        return answer(Status(StatusCode::Invalid, _("The time to wait is no number.")));
    }
    if (m_waits.size() >= kMaxWaits) {
        return answer(Status(StatusCode::Busy, _("Too many programs wait for downloads.")));
    }
    const std::chrono::duration<double> left(std::clamp(seconds, 0.0, kLongestSeconds));
    const bool isDoneNow = isDone();
    if (isDoneNow || left == left.zero()) return answer(isDoneNow);
    m_waits.push_back(
        {std::move(isDone), std::chrono::ceil<std::chrono::milliseconds>(left), std::move(answer)});
    if (m_waits.size() == 1) startTimer();
}

void DownloadWaits::startTimer() {
    m_timer = m_mainLoop.startTimer(kInterval, [this] { ask(); });
}

void DownloadWaits::ask() {
    m_timer = 0;
    for (auto wait = m_waits.begin(); wait != m_waits.end();) {
        wait->left -= kInterval;
        const bool isDone = wait->isDone();
        if (isDone || wait->left <= wait->left.zero()) {
            wait->answer(isDone);
            wait = m_waits.erase(wait);
        } else {
            ++wait;
        }
    }
    if (!m_waits.empty()) startTimer();
}

}  // namespace siftwell
