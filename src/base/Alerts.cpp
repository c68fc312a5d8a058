#include "base/Alerts.h"

#include "base/Log.h"

namespace siftwell {

std::size_t LoggedAlerts::ask(const Alert& alert, std::size_t safeAnswer) {
    std::string line = alert.title + " " + alert.text;
    if (safeAnswer < alert.buttons.size()) line += " [" + alert.buttons[safeAnswer] + "]";
    writeLog(line);
    return safeAnswer;
}

}  // namespace siftwell
