// SWNotifier: the one channel for progress, status and errors.
//
// Each report becomes a notification on the main thread, where the windows, the error list and the
// driver observe it:
//
//   reportError             "SiftwellErrorNotification"                 "error", "severity", "url",
//                                                                       "details", "date"
//   reportProgressStarting  "SiftwellIndexerProgressStartNotification"  "source", "count"
//   reportProgress          "SiftwellIndexerProgressNotification"       "source", "message"
//   reportProgressDone      "SiftwellIndexerProgressDoneNotification"   "source", "message"
//   reportStatus            "SiftwellStatusChangeNotification"          the status text itself
//
// Threads: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "base/NotificationCentre.h"

namespace siftwell {

class SWNotifier {
public:
    SWNotifier(NotificationCentre& centre, const Clock& clock) : m_centre(centre), m_clock(clock) {}

    // Severities: 3 one address in the index, 5 retrieval and one source, 6 configuration and
    // unreadable input, 8 the index as the user sees it, 9 the index folder or a file in it. The
    // texts are localized by the reporter. An absent address or absent details end the record
    // there.
    void reportError(const std::string& error, std::int32_t ofSeverity,
                     const std::optional<std::string>& withURLString,
                     const std::optional<std::string>& andDetails);

    // Messages and statuses are English texts, looked up here.
    void reportProgressStartingIn(const std::string& source, std::int32_t withNumberOfDocuments);
    void reportProgressIn(const std::string& source, const std::string& withMessage);
    void reportProgressDoneIn(const std::string& source, const std::string& withMessage);

    // A status that repeats the last one within the same second is dropped.
    void reportStatus(const std::string& status);

private:
    bool isRepetition(const std::string& status);

    NotificationCentre& m_centre;
    const Clock& m_clock;
    Mutex m_mutex;
    std::int64_t m_lastStatusSecond SW_GUARDED_BY(m_mutex) = INT64_MIN;
    std::string m_lastStatus SW_GUARDED_BY(m_mutex);
};

}  // namespace siftwell
