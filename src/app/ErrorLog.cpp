#include "app/ErrorLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <sstream>

#include "base/FileDescriptor.h"
#include "base/Files.h"
#include "base/Log.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxBytes = 1 << 20;
constexpr std::size_t kMaxTextBytes = 4 << 10;  // of one text in an error

std::string fileIn(const std::string& stateFolder) { return stateFolder + "/errors.jsonl"; }

std::string bounded(const std::string& text) { return repairedUtf8(text.substr(0, kMaxTextBytes)); }

std::string lineFor(const PropertyList::Dictionary& record) {
    nlohmann::ordered_json json;
    json["error"] = bounded(stringFor(record, "error"));
    json["severity"] = integerFor(record, "severity").value_or(0);
    json["url"] = bounded(stringFor(record, "url"));
    json["details"] = bounded(stringFor(record, "details"));
    json["date"] = bounded(stringFor(record, "date"));
    return json.dump() + "\n";
}

std::string textIn(const nlohmann::json& json, const char* key) {
    const auto value = json.find(key);
    return value != json.end() && value->is_string() ? value->get<std::string>() : "";
}

// The line is short, and in one piece even when the program is killed.
Status append(const std::string& file, const std::string& line) {
    const FileDescriptor opened(
        open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!opened.isOpen()) return Status::fromErrno(errno, "open the file " + file);
    if (write(opened.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        return Status::fromErrno(errno, "write the file " + file);
    }
    return {};
}

Status keepYoungerHalf(const std::string& file) {
    const auto text = readFile(file, 2 * kMaxBytes);
    if (!text) return text.status();
    const std::size_t lineEnd = text->find('\n', text->size() / 2);
    return writeFileAtomically(
        file, lineEnd == std::string::npos ? "" : std::string_view(*text).substr(lineEnd + 1));
}

}  // namespace

ErrorLog::ErrorLog(NotificationCentre& centre, const std::string& stateFolder)
    : m_file(fileIn(stateFolder)),
      m_observation(centre.observe("SiftwellErrorNotification",
                                   [this](const PropertyList& record) { add(record); })) {}

void ErrorLog::add(const PropertyList& record) {
    const auto* dictionary = record.asDictionary();
    if (dictionary == nullptr) return;
    Status status = append(m_file, lineFor(*dictionary));
    const auto info = fileInfo(m_file);
    if (status.isOk() && info && info->bytes > kMaxBytes) status = keepYoungerHalf(m_file);
    if (status.isOk() || m_isFailureLogged) return;
    m_isFailureLogged = true;
    writeLog("The list of errors cannot be kept: " + status.message());
}

std::vector<LoggedError> ErrorLog::read(const std::string& stateFolder) {
    const auto text = readFile(fileIn(stateFolder), 2 * kMaxBytes);
    if (!text) return {};
    std::vector<LoggedError> errors;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        const auto json = nlohmann::json::parse(line, nullptr, false);
        if (!json.is_object()) continue;
        const auto severity = json.find("severity");
        const bool isNumber = severity != json.end() && severity->is_number_integer();
        errors.push_back({.error = textIn(json, "error"),
                          .severity = isNumber ? severity->get<std::int64_t>() : 0,
                          .url = textIn(json, "url"),
                          .details = textIn(json, "details"),
                          .date = textIn(json, "date")});
    }
    return errors;
}

Status ErrorLog::clear(const std::string& stateFolder) {
    const std::string file = fileIn(stateFolder);
    if (unlink(file.c_str()) == 0 || errno == ENOENT) return {};
    return Status::fromErrno(errno, "delete the file " + file);
}

}  // namespace siftwell
