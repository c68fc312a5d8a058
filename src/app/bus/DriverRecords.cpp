#include "app/bus/DriverRecords.h"

#include <array>
#include <string_view>
#include <utility>

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
            {"ended", static_cast<std::int64_t>(state.ended)},
            {"wasLastComplete", state.wasLastComplete},
            {"pendingDocuments", state.pendingDocuments},
            {"finishedDocuments", static_cast<std::int64_t>(state.finishedDocuments)},
            {"documents", state.documents}};
}

Driver::ScanState scanStateIn(const PropertyList::Dictionary& dictionary) {
    return {.isScanning = booleanFor(dictionary, "isScanning"),
            .ended = countFor(dictionary, "ended"),
            .wasLastComplete = booleanFor(dictionary, "wasLastComplete"),
            .pendingDocuments = integerFor(dictionary, "pendingDocuments").value_or(0),
            .finishedDocuments = countFor(dictionary, "finishedDocuments"),
            .documents = integerFor(dictionary, "documents").value_or(0)};
}

}  // namespace siftwell
