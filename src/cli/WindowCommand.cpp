#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "app/WriterLock.h"
#include "app/bus/RunningCopy.h"
#include "base/Files.h"
#include "base/NotificationCentre.h"
#include "base/Translate.h"
#include "cli/Commands.h"

namespace siftwell {

namespace {

std::string windowsProgram() { return programFolder() + "/siftwell-gui"; }

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text.append(text.empty() ? "" : " ").append(word);
    return text;
}

// Puts the program with windows in the place of this one; returns only when that fails.
ExitStatus becomeWindowsProgram(const std::string& searchQuery, Console& console) {
    std::string program = windowsProgram();
    std::string option = "--search";
    std::string text = searchQuery;
    char* withText[] = {program.data(), option.data(), text.data(), nullptr};
    char* plain[] = {program.data(), nullptr};
    static_cast<void>(console.flush());
    execv(program.c_str(), searchQuery.empty() ? plain : withText);
    console.message("siftwell: " + filledIn(_("The windows cannot be opened: %@"),
                                            program + ": " + std::strerror(errno)));
    return ExitStatus::Unusable;
}

// Has the copy that runs do something with its windows.
ExitStatus askRunningCopy(pid_t process, const CommandContext& context,
                          Status (*ask)(Driver&, const std::string&), const std::string& text) {
    NotificationCentre centre(context.mainLoop);
    const auto copy = RunningCopy::connect(centre, process);
    const Status status = copy ? ask(**copy, text) : copy.status();
    if (status.isOk()) return ExitStatus::Done;
    context.console.message(printable("siftwell: " + status.message()));
    return ExitStatus::InTheWay;
}

}  // namespace

bool canShowWindows() {
    const auto isSet = [](const char* variable) {
        const char* value = std::getenv(variable);
        return value != nullptr && *value != '\0';
    };
    return (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY")) && fileInfo(windowsProgram());
}

ExitStatus runWindow(const CommandContext& context) {
    const pid_t process = WriterLock::holder(context.paths.stateFolder);
    if (process == 0) return becomeWindowsProgram("", context.console);
    return askRunningCopy(
        process, context, [](Driver& copy, const std::string&) { return copy.showWindow(); }, "");
}

ExitStatus runToggle(const ToggleOptions& options, const CommandContext& context) {
    const std::string text = joined(options.words);
    const pid_t process = WriterLock::holder(context.paths.stateFolder);
    if (process == 0 && canShowWindows()) return becomeWindowsProgram(text, context.console);
    if (process == 0) {
        context.console.message(_("Siftwell is not running, and there is no display for windows."));
        return ExitStatus::InTheWay;
    }
    return askRunningCopy(
        process, context,
        [](Driver& copy, const std::string& words) {
            return words.empty() ? copy.toggleWindow() : copy.searchService(words);
        },
        text);
}

}  // namespace siftwell
