#include "app/bus/BusErrors.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "app/bus/BusValues.h"

namespace siftwell {

namespace {

constexpr std::string_view kPrefix = "com.velotrin.Siftwell.Error.";

using Row = std::pair<StatusCode, std::string_view>;

constexpr std::array<Row, 12> kNames = {{
    {StatusCode::NotFound, "NotFound"},
    {StatusCode::Exists, "Exists"},
    {StatusCode::Denied, "Denied"},
    {StatusCode::NoSpace, "NoSpace"},
    {StatusCode::ReadOnlyStorage, "ReadOnlyStorage"},
    {StatusCode::Busy, "Busy"},
    {StatusCode::Damaged, "Damaged"},
    {StatusCode::UnknownVersion, "UnknownVersion"},
    {StatusCode::NameMismatch, "NameMismatch"},
    {StatusCode::Invalid, "Invalid"},
    {StatusCode::TooLarge, "TooLarge"},
    {StatusCode::Failed, "Failed"},
}};

constexpr std::array<Row, 5> kErrorsOfTheBus = {{
    {StatusCode::NotFound, "org.freedesktop.DBus.Error.ServiceUnknown"},
    {StatusCode::NotFound, "org.freedesktop.DBus.Error.NameHasNoOwner"},
    {StatusCode::NotFound, "org.freedesktop.DBus.Error.NoReply"},
    {StatusCode::NotFound, "org.freedesktop.DBus.Error.Disconnected"},
    {StatusCode::Denied, "org.freedesktop.DBus.Error.AccessDenied"},
}};

template <typename Rows>
StatusCode codeIn(const Rows& rows, std::string_view name) {
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [&](const Row& each) { return each.second == name; });
    return row == rows.end() ? StatusCode::Failed : row->first;
}

}  // namespace

std::string_view nameOf(StatusCode code) {
    if (code == StatusCode::Ok) return "";
    const auto row = std::find_if(kNames.begin(), kNames.end(),
                                  [code](const Row& each) { return each.first == code; });
    return row == kNames.end() ? "Failed" : row->second;
}

StatusCode statusCodeNamed(std::string_view name) {
    return name.empty() ? StatusCode::Ok : codeIn(kNames, name);
}

sdbus::Error busErrorOf(const Status& status) {
    return {std::string(kPrefix) + std::string(nameOf(status.code())), busText(status.message())};
}

Status statusOf(const sdbus::Error& error) {
    const std::string_view name = error.getName();
    if (name.starts_with(kPrefix)) {
        return {codeIn(kNames, name.substr(kPrefix.size())), error.getMessage()};
    }
    return {codeIn(kErrorsOfTheBus, name), error.getMessage() + " (" + error.getName() + ")"};
}

}  // namespace siftwell
