// Alerts: questions that wait for the user's answer; a test, and a program without windows, put
// their own answers in place.
//
// Threads: main.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace siftwell {

struct Alert {
    std::string title;
    std::string text;
    std::vector<std::string> buttons;  // the first is the default
    bool isCritical = false;
};

class Alerts {
public:
    virtual ~Alerts() = default;

    // The position of the button that was chosen. `safeAnswer` is what a program answers that has
    // nobody to ask.
    virtual std::size_t ask(const Alert& alert, std::size_t safeAnswer) = 0;
};

// Answers what is safe, and writes the question and the answer to the log.
class LoggedAlerts : public Alerts {
public:
    std::size_t ask(const Alert& alert, std::size_t safeAnswer) override;
};

}  // namespace siftwell
