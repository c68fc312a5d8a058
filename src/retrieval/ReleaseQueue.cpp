#include "retrieval/ReleaseQueue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>

#include "base/Log.h"

namespace siftwell {

namespace {

constexpr std::chrono::seconds kDelay(30);
constexpr std::size_t kMostWaiting = 1000;

std::string nameOf(const DocumentDownloader& downloader) {
    std::array<char, 2 * sizeof(std::uintptr_t)> digits{};
    const auto address = reinterpret_cast<std::uintptr_t>(&downloader);
    const auto end = std::to_chars(digits.begin(), digits.end(), address, 16).ptr;
    return "Downloader 0x" + std::string(digits.begin(), end);
}

}  // namespace

void ReleaseQueue::releaseAfterDelay(const Downloader& downloader) {
    m_mainLoop.post([self = shared_from_this(), downloader] { self->add(downloader); });
}

void ReleaseQueue::add(const Downloader& downloader) {
    writeLog(nameOf(*downloader) + ": starting release timer on main thread");
    m_waiting.push_back({downloader, std::chrono::steady_clock::now() + kDelay});
    if (m_waiting.size() > kMostWaiting) releaseNow();
    waitForOldest();
}

void ReleaseQueue::releaseNow() {
    writeLog(nameOf(*m_waiting.front().downloader) + ": releaseNow");
    m_waiting.pop_front();
}

void ReleaseQueue::waitForOldest() {
    if (m_isTimerRunning || m_waiting.empty()) return;
    m_isTimerRunning = true;
    const auto left = m_waiting.front().due - std::chrono::steady_clock::now();
    m_mainLoop.startTimer(
        std::max(std::chrono::ceil<std::chrono::milliseconds>(left), std::chrono::milliseconds(0)),
        [self = shared_from_this()] { self->releaseDue(); });
}

void ReleaseQueue::releaseDue() {
    m_isTimerRunning = false;
    const auto now = std::chrono::steady_clock::now();
    while (!m_waiting.empty() && m_waiting.front().due <= now) releaseNow();
    waitForOldest();
}

}  // namespace siftwell
