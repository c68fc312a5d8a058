#include "app/PageAdding.h"

#include "base/Log.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr std::chrono::seconds kPatience(300);

}  // namespace

void PageAdding::start(const std::vector<Target>& targets) {
    m_lastChange = std::chrono::steady_clock::now();
    for (const Target& target : targets) {
        m_indexes.addToPendingDocumentCount(1);
        m_retriever.indexDocument(target.url, m_clock.now(), std::nullopt, target.source,
                                  "SingleURL");
    }
}

bool PageAdding::isDone() {
    if (!m_retriever.isAtWorkForSource(std::nullopt)) return true;
    const auto now = std::chrono::steady_clock::now();
    if (done() != m_lastDone) {
        m_lastDone = done();
        m_lastChange = now;
    }
    if (now - m_lastChange < kPatience) return false;
    writeLog("Gave up waiting for downloads to finish");
    m_retriever.cancelDownloadsForSource(std::nullopt, std::chrono::milliseconds(0));
    m_lastChange = now;
    return false;
}

}  // namespace siftwell
