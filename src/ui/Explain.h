// Explain: says in an alert what could not be done.
//
// Threads: main; waits for the user while the loop is served.
#pragma once

#include "base/Alerts.h"
#include "base/Status.h"
#include "base/Translate.h"

namespace siftwell {

// Nothing for a success.
inline void explain(const Status& status, Alerts& alerts) {
    if (status.isOk()) return;
    alerts.ask(
        {.title = _("Siftwell could not do this."), .text = status.message(), .buttons = {_("OK")}},
        0);
}

}  // namespace siftwell
