#include "base/SWNotifier.h"

#include <cmath>
#include <utility>

#include "base/Translate.h"

namespace siftwell {

void SWNotifier::reportError(const std::string& error, std::int32_t ofSeverity,
                             const std::optional<std::string>& withURLString,
                             const std::optional<std::string>& andDetails) {
    PropertyList::Dictionary record{{"error", error}, {"severity", ofSeverity}};
    if (withURLString) {
        record["url"] = *withURLString;
        if (andDetails) {
            record["details"] = *andDetails;
            record["date"] = m_clock.now().formattedLocally("%Y-%m-%d %H:%M:%S");
        }
    }
    m_centre.postMainThreadNotificationName("SiftwellErrorNotification", std::move(record));
}

void SWNotifier::reportProgressStartingIn(const std::string& source,
                                          std::int32_t withNumberOfDocuments) {
    m_centre.postMainThreadNotificationName(
        "SiftwellIndexerProgressStartNotification",
        PropertyList::Dictionary{{"source", source}, {"count", withNumberOfDocuments}});
}

void SWNotifier::reportProgressIn(const std::string& source, const std::string& withMessage) {
    m_centre.postMainThreadNotificationName(
        "SiftwellIndexerProgressNotification",
        PropertyList::Dictionary{{"source", source}, {"message", localized(withMessage)}});
}

void SWNotifier::reportProgressDoneIn(const std::string& source, const std::string& withMessage) {
    m_centre.postMainThreadNotificationName(
        "SiftwellIndexerProgressDoneNotification",
        PropertyList::Dictionary{{"source", source}, {"message", localized(withMessage)}});
}

void SWNotifier::reportStatus(const std::string& status) {
    const std::string text = localized(status);
    if (isRepetition(text)) return;
    m_centre.postMainThreadNotificationName("SiftwellStatusChangeNotification", text);
}

bool SWNotifier::isRepetition(const std::string& status) {
    const auto second = static_cast<std::int64_t>(std::floor(m_clock.now().secondsSinceUnix()));
    MutexLock lock(m_mutex);
    if (second <= m_lastStatusSecond && status == m_lastStatus) return true;
    m_lastStatusSecond = second;
    m_lastStatus = status;
    return false;
}

}  // namespace siftwell
