#include "app/NetworkActivity.h"

#include "base/Log.h"
#include "base/NetworkThroughput.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr float kSamplingSeconds = 5.0F;
constexpr std::uint64_t kBusyRate = 20'000;

}  // namespace

void NetworkActivity::getMaxDownloadThroughput() {
    std::uint64_t received = 0;
    std::uint64_t sent = 0;
    GetNetworkThroughput(received, sent, kSamplingSeconds, m_clock);
    writeLog(filledIn("Network throughput: in = %d, out = %d", static_cast<std::int64_t>(received),
                      static_cast<std::int64_t>(sent)));
    note(received);
}

void NetworkActivity::networkMonitorTimer() {
    m_thread = std::jthread([this] { getMaxDownloadThroughput(); });
}

void NetworkActivity::note(std::uint64_t rate) {
    m_latest = rate;
    if (rate > m_max) m_max = rate;
}

bool NetworkActivity::isBusy() const {
    return m_latest >= kBusyRate &&
           static_cast<double>(m_latest) >= 0.5 * static_cast<double>(m_max);
}

}  // namespace siftwell
