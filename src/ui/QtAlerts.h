// QtAlerts: questions as dialogs.
//
// Threads: main; asking serves the loop until there is an answer.
#pragma once

#include "base/Alerts.h"

namespace siftwell {

class QtAlerts : public Alerts {
public:
    // Escape, and closing the dialog, answer what is safe.
    std::size_t ask(const Alert& alert, std::size_t safeAnswer) override;
};

}  // namespace siftwell
