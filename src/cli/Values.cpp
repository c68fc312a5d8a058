#include "cli/Values.h"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/Translate.h"
#include "text/Ascii.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

using Json = nlohmann::ordered_json;

std::optional<PropertyList> booleanIn(const std::string& text) {
    const std::string word = lowerCasedAscii(text);
    if (word == "yes" || word == "true" || word == "1") return PropertyList(true);
    if (word == "no" || word == "false" || word == "0") return PropertyList(false);
    return std::nullopt;
}

template <typename Number>
std::optional<PropertyList> numberIn(const std::string& text) {
    const auto number = wholeNumberIn<Number>(text);
    return number ? std::optional(PropertyList(*number)) : std::nullopt;
}

std::optional<PropertyList> realIn(const std::string& text) {
    auto number = numberIn<double>(text);
    return number && std::isfinite(*number->asReal()) ? number : std::nullopt;
}

std::optional<PropertyList> dateIn(const std::string& text) {
    if (lowerCasedAscii(text) == "never") return PropertyList(Date::distantPast());
    const auto date = Date::parseUtc(text);
    return date ? std::optional<PropertyList>(*date) : std::nullopt;
}

PropertyList listIn(const std::string& text) {
    PropertyList::Array list;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string_view part =
            trimmingLeadingWhiteSpace(std::string_view(text).substr(begin, end - begin));
        if (!part.empty()) list.emplace_back(std::string(part));
        begin = end + 1;
    }
    return list;
}

std::string textOfReal(double value) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), end};
}

std::string textOfList(const PropertyList::Array& list) {
    std::string text;
    for (const PropertyList& each : list) text += (text.empty() ? "" : ", ") + textOf(each);
    return text;
}

bool isNever(Date date) { return date <= Date::distantPast(); }

}  // namespace

std::optional<PropertyList> valueLike(const PropertyList& example, const std::string& text) {
    if (example.asBoolean() != nullptr) return booleanIn(text);
    if (example.asInteger() != nullptr) return numberIn<std::int64_t>(text);
    if (example.asReal() != nullptr) return realIn(text);
    if (example.asDate() != nullptr) return dateIn(text);
    if (example.asArray() != nullptr) return listIn(text);
    if (example.asString() != nullptr && isValidUtf8(text)) return PropertyList(text);
    return std::nullopt;
}

std::string allowedLike(const PropertyList& example) {
    if (example.asBoolean() != nullptr) return _("yes or no");
    if (example.asInteger() != nullptr) return _("a whole number");
    if (example.asReal() != nullptr) return _("a number");
    if (example.asDate() != nullptr) return _("a date such as 2026-11-21T08:15:00Z, or never");
    if (example.asArray() != nullptr) return _("texts with commas between them");
    return _("a text");
}

std::string textOf(const PropertyList& value) {
    if (const bool* boolean = value.asBoolean()) return *boolean ? "yes" : "no";
    if (const std::int64_t* integer = value.asInteger()) return std::to_string(*integer);
    if (const double* real = value.asReal()) return textOfReal(*real);
    if (const std::string* text = value.asString()) return *text;
    if (const Date* date = value.asDate()) return isNever(*date) ? "never" : date->iso8601();
    if (const PropertyList::Array* list = value.asArray()) return textOfList(*list);
    return "";
}

Json jsonOf(const PropertyList& value) {
    if (const bool* boolean = value.asBoolean()) return *boolean;
    if (const std::int64_t* integer = value.asInteger()) return *integer;
    if (const double* real = value.asReal()) return *real;
    if (const std::string* text = value.asString()) return repairedUtf8(*text);
    if (const Date* date = value.asDate(); date != nullptr && !isNever(*date)) {
        return date->iso8601();
    }
    if (const PropertyList::Array* list = value.asArray()) {
        Json array = Json::array();
        for (const PropertyList& each : *list) array.push_back(jsonOf(each));
        return array;
    }
    return nullptr;
}

}  // namespace siftwell
