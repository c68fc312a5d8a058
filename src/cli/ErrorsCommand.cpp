#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>

#include "app/ErrorLog.h"
#include "base/Date.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/JsonLine.h"
#include "cli/LoggedErrors.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxDetails = 300;  // details may hold a whole page

void printForPeople(const LoggedError& error, const Console& console) {
    console.print(printable(error.date + "  " + error.error));
    if (!error.url.empty()) console.print(printable("    " + error.url));
    if (!error.details.empty()) {
        console.print(printable("    " + std::string(utf8Prefix(error.details, kMaxDetails))));
    }
}

}  // namespace

nlohmann::ordered_json jsonFor(const LoggedError& error) {
    nlohmann::ordered_json json;
    json["date"] = nullptr;
    if (const auto date = dateOf(error)) json["date"] = date->iso8601();
    json["error"] = repairedUtf8(error.error);
    json["severity"] = error.severity;
    json["url"] = repairedUtf8(error.url);
    json["details"] = repairedUtf8(error.details);
    return json;
}

std::optional<Date> dateOf(const LoggedError& error) {
    const auto date = Date::parseUtc(error.date);
    if (!date) return std::nullopt;
    const auto seconds = static_cast<std::time_t>(std::floor(date->secondsSinceUnix()));
    std::tm fields{};
    gmtime_r(&seconds, &fields);
    fields.tm_isdst = -1;
    return Date::fromUnix(static_cast<double>(std::mktime(&fields)));
}

ExitStatus runErrors(const ErrorsOptions& options, const CommandContext& context) {
    const auto errors = ErrorLog::read(context.paths.stateFolder);
    for (const LoggedError& error : errors) {
        if (options.isJson) {
            context.console.print(jsonLine(jsonFor(error)));
        } else {
            printForPeople(error, context.console);
        }
    }
    if (errors.empty()) context.console.message(_("There are no errors."));
    return ExitStatus::Done;
}

}  // namespace siftwell
