#include <nlohmann/json.hpp>

#include "app/PreferenceCommands.h"
#include "app/RegisteredDefaults.h"
#include "app/Session.h"
#include "base/Translate.h"
#include "cli/Commands.h"
#include "cli/DriverCommand.h"
#include "cli/JsonLine.h"
#include "cli/NearNames.h"
#include "cli/Values.h"

namespace siftwell {

namespace {

using Action = DefaultsOptions::Action;
using Dictionary = PropertyList::Dictionary;

// All but the two lists, which have commands of their own.
Dictionary knownDefaults() {
    Dictionary defaults = registeredDefaults(SystemClock().now());
    std::erase_if(defaults, [](const auto& each) { return isEditedList(each.first); });
    return defaults;
}

// False, explained, when there is no such setting here.
bool isKnown(const std::string& key, const Dictionary& defaults, Console& console) {
    if (defaults.contains(key)) return true;
    if (isEditedList(key)) {
        const std::string command = key == "URLFilters" ? "filters" : "sources";
        console.message(
            "siftwell: " +
            filledIn(_("\"%@\" is a list with commands of its own: siftwell %@"), key, command));
        return false;
    }
    std::vector<std::string> names;
    for (const auto& [name, value] : defaults) names.push_back(name);
    console.message(printable("siftwell: " + filledIn(_("There is no setting \"%@\"."), key) +
                              meantPerhaps(key, names)));
    console.message(_("To see all settings: siftwell defaults"));
    return false;
}

// ---- Reading

void print(const std::string& key, const PropertyList& user, const PropertyList& registered,
           bool isJson, const Console& console) {
    const PropertyList& value = user.isNull() ? registered : user;
    if (isJson) {
        nlohmann::ordered_json json;
        json["key"] = key;
        json["value"] = jsonOf(value);
        json["default"] = jsonOf(registered);
        json["isSet"] = !user.isNull();
        return console.print(jsonLine(json));
    }
    std::string line = key + " = " + textOf(value);
    if (!user.isNull()) line += "  " + filledIn(_("(default: %@)"), textOf(registered));
    console.print(printable(line));
}

void read(const Settings& settings, const Dictionary& defaults, const DefaultsOptions& options,
          const Console& console) {
    for (const auto& [key, registered] : defaults) {
        if (options.key && *options.key != key) continue;
        print(key, settings.userValue(key), registered, options.isJson, console);
    }
}

// ---- Changing

// None, explained, when the value is not of the setting's type.
std::optional<PropertyList> valueToWrite(const DefaultsOptions& options, const Dictionary& defaults,
                                         Console& console) {
    const PropertyList& registered = defaults.at(*options.key);
    auto value = valueLike(registered, options.value);
    if (!value) {
        console.message(printable("siftwell: " +
                                  filledIn(_("\"%@\" is no value for %@, which takes %@."),
                                           options.value, *options.key, allowedLike(registered))));
    }
    return value;
}

}  // namespace

ExitStatus runDefaults(const DefaultsOptions& options, const CommandContext& context) {
    const Dictionary defaults = knownDefaults();
    if (options.key && !isKnown(*options.key, defaults, context.console)) {
        return ExitStatus::WrongUsage;
    }
    if (options.action == Action::Read) {
        const auto session =
            Session::open(context.paths, Session::Purpose::Reading, context.mainLoop);
        if (!session) return explainFailure(session.status(), context.console);
        read((*session)->settings(), defaults, options, context.console);
        return ExitStatus::Done;
    }
    std::optional<PropertyList> value = PropertyList();
    if (options.action == Action::Write) {
        value = valueToWrite(options, defaults, context.console);
        if (!value) return ExitStatus::WrongUsage;
    }
    return runThroughDriver(context, [&](const ReachedCopy& reached) {
        Driver& driver = reached.copy.driver();
        const Status status = options.action == Action::Write
                                  ? driver.setSetting(*options.key, *value)
                                  : driver.removeSetting(*options.key);
        return status.isOk() ? ExitStatus::Done : explainRefusal(status, context.console);
    });
}

}  // namespace siftwell
