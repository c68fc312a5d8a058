// Explain: alerts that only say something.
//
// Threads: main; waits for the user while the loop is served.
#pragma once

#include <string>

#include "base/Alerts.h"
#include "base/Status.h"
#include "base/Translate.h"

namespace siftwell {

inline void tell(Alerts& alerts, const std::string& title, const std::string& text) {
    alerts.ask({.title = title, .text = text, .buttons = {_("OK")}}, 0);
}

// What could not be done, and why. Nothing for a success.
inline void explain(const Status& status, Alerts& alerts,
                    const std::string& title = _("Siftwell could not do this.")) {
    if (!status.isOk()) tell(alerts, title, status.message());
}

inline void sayNothingOpens(Alerts& alerts, const std::string& address) {
    tell(alerts, _("Nothing opens this address."), address);
}

}  // namespace siftwell
