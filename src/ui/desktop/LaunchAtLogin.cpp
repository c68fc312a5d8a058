#include "ui/desktop/LaunchAtLogin.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>

#include "base/Files.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

std::string entry() {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Siftwell\n"
           "Exec=" +
           quotedForExec(programFolder() + "/siftwell-gui") + " --background" +
           "\n"
           "Icon=siftwell\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

// Desktops leave the file where it is and switch it off in there.
bool isSwitchedOff(const std::string& entry) {
    std::istringstream lines(entry);
    for (std::string line; std::getline(lines, line);) {
        std::erase_if(line, [](char each) { return each == ' ' || each == '\t' || each == '\r'; });
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false") return true;
    }
    return false;
}

}  // namespace

// Quoted, with a backslash before what a shell would look at; the backslash itself is then an
// escape of the file's values.
std::string quotedForExec(const std::string& argument) {
    std::string quoted = "\"";
    for (const char each : argument) {
        if (each == '\\') {
            quoted += R"(\\\\)";
        } else if (each == '"' || each == '`' || each == '$') {
            quoted += R"(\\)";
            quoted += each;
        } else {
            if (each == '%') quoted += '%';
            quoted += each;
        }
    }
    return quoted + '"';
}

// Beside the folder of the settings, which is the user's folder of configurations.
LaunchAtLogin::LaunchAtLogin(const Paths& paths)
    : m_file(folderOf(folderOf(paths.settingsFile)) + "/autostart/siftwell.desktop") {}

bool LaunchAtLogin::isOn() const {
    constexpr std::size_t kLongest = 65'536;
    const auto text = readFile(m_file, kLongest);
    return text && !isSwitchedOff(*text);
}

Status LaunchAtLogin::set(bool isOn) const {
    if (isOn) {
        if (Status status = makePrivateFolder(folderOf(m_file)); !status.isOk()) return status;
        return writeFileAtomically(m_file, entry());
    }
    std::error_code error;
    std::filesystem::remove(m_file, error);
    if (!error) return {};
    return Status::fromErrno(error.value(), "remove the file " + m_file);
}

}  // namespace siftwell
