#include "app/bus/DriverRecords.h"

#include <array>
#include <string_view>
#include <utility>

#include "app/bus/BusErrors.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

using ScanScope = Driver::ScanScope;
using FileUse = Driver::FileUse;

template <typename Value>
using Row = std::pair<Value, std::string_view>;

constexpr std::array<Row<ScanScope>, 2> kScopes = {{
    {ScanScope::Everything, "everything"},
    {ScanScope::LocalSources, "local"},
}};
constexpr std::array<Row<FileUse>, 3> kFileUses = {{
    {FileUse::Ask, "ask"},
    {FileUse::ExtractURLs, "extractURLs"},
    {FileUse::IndexContents, "indexContents"},
}};

template <typename Value, std::size_t count>
std::string textIn(const std::array<Row<Value>, count>& rows, Value value) {
    for (const auto& [each, text] : rows) {
        if (each == value) return std::string(text);
    }
    return "";
}

template <typename Value, std::size_t count>
Result<Value> valueIn(const std::array<Row<Value>, count>& rows, const std::string& text) {
    for (const auto& [each, name] : rows) {
        if (name == text) return each;
    }
    return Status(StatusCode::Invalid, filledIn(_("\"%@\" is none of the choices."), text));
}

std::uint64_t countFor(const PropertyList::Dictionary& dictionary, std::string_view key) {
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(integerFor(dictionary, key).value_or(0), 0));
}

}  // namespace

std::string textOf(ScanScope scope) { return textIn(kScopes, scope); }
std::string textOf(FileUse fileUse) { return textIn(kFileUses, fileUse); }
Result<ScanScope> scanScopeOf(const std::string& text) { return valueIn(kScopes, text); }
Result<FileUse> fileUseOf(const std::string& text) { return valueIn(kFileUses, text); }

PropertyList::Dictionary dictionaryOf(const Driver::ScanState& state) {
    return {{"isScanning", state.isScanning},
            {"isLoading", state.isLoading},
            {"ended", static_cast<std::int64_t>(state.ended)},
            {"wasLastComplete", state.wasLastComplete},
            {"pendingDocuments", state.pendingDocuments},
            {"finishedDocuments", static_cast<std::int64_t>(state.finishedDocuments)},
            {"documents", state.documents}};
}

Driver::ScanState scanStateIn(const PropertyList::Dictionary& dictionary) {
    return {.isScanning = booleanFor(dictionary, "isScanning"),
            .isLoading = booleanFor(dictionary, "isLoading"),
            .ended = countFor(dictionary, "ended"),
            .wasLastComplete = booleanFor(dictionary, "wasLastComplete"),
            .pendingDocuments = integerFor(dictionary, "pendingDocuments").value_or(0),
            .finishedDocuments = countFor(dictionary, "finishedDocuments"),
            .documents = integerFor(dictionary, "documents").value_or(0)};
}

PropertyList::Dictionary dictionaryOf(const Driver::MaintenanceState& state) {
    PropertyList::Dictionary dictionary{
        {"isRunning", state.isRunning},
        {"ended", static_cast<std::int64_t>(state.ended)},
        {"code", std::string(nameOf(state.result.code()))},
        {"message", state.result.message()},
        {"removedCount", static_cast<std::int64_t>(state.removedCount)},
        {"removed", PropertyList::Array(state.removed.begin(), state.removed.end())}};
    if (state.percent) dictionary["percent"] = *state.percent;
    return dictionary;
}

Driver::MaintenanceState maintenanceStateIn(const PropertyList::Dictionary& dictionary) {
    Driver::MaintenanceState state{.isRunning = booleanFor(dictionary, "isRunning"),
                                   .ended = countFor(dictionary, "ended"),
                                   .result = {statusCodeNamed(stringFor(dictionary, "code")),
                                              stringFor(dictionary, "message")},
                                   .removedCount = countFor(dictionary, "removedCount")};
    if (const PropertyList* percent = find(dictionary, "percent")) {
        state.percent = percent->asRealLenient();
    }
    const PropertyList* removed = find(dictionary, "removed");
    if (removed == nullptr || removed->asArray() == nullptr) return state;
    for (const PropertyList& url : *removed->asArray()) {
        if (const std::string* text = url.asString()) state.removed.push_back(*text);
    }
    return state;
}

}  // namespace siftwell
