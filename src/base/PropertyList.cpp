#include "base/PropertyList.h"

#include <cmath>
#include <cstdlib>

namespace siftwell {

namespace {

bool startsAffirmatively(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t+-0");
    return first != std::string::npos &&
           std::string_view("YyTt123456789").find(text[first]) != std::string_view::npos;
}

// Words such as "inf" and "nan" are no numbers here.
double numberIn(const std::string& text) {
    const double value = std::strtod(text.c_str(), nullptr);
    return std::isfinite(value) ? value : 0;
}

std::int64_t truncated(double value) {
    constexpr double kLimit = 9.2e18;
    if (std::isnan(value)) return 0;
    return static_cast<std::int64_t>(std::fmin(std::fmax(value, -kLimit), kLimit));
}

}  // namespace

std::optional<bool> PropertyList::asBooleanLenient() const {
    if (const bool* value = asBoolean()) return *value;
    if (const std::int64_t* value = asInteger()) return *value != 0;
    if (const double* value = asReal()) return *value != 0;
    if (const std::string* value = asString()) return startsAffirmatively(*value);
    return std::nullopt;
}

std::optional<std::int64_t> PropertyList::asIntegerLenient() const {
    if (const bool* value = asBoolean()) return *value ? 1 : 0;
    if (const std::int64_t* value = asInteger()) return *value;
    if (const double* value = asReal()) return truncated(*value);
    if (const std::string* value = asString()) return std::strtoll(value->c_str(), nullptr, 10);
    return std::nullopt;
}

std::optional<double> PropertyList::asRealLenient() const {
    if (const bool* value = asBoolean()) return *value ? 1.0 : 0.0;
    if (const std::int64_t* value = asInteger()) return static_cast<double>(*value);
    if (const double* value = asReal()) return *value;
    if (const std::string* value = asString()) return numberIn(*value);
    return std::nullopt;
}

const PropertyList* find(const PropertyList::Dictionary& dictionary, std::string_view key) {
    const auto entry = dictionary.find(key);
    return entry == dictionary.end() ? nullptr : &entry->second;
}

std::string stringFor(const PropertyList::Dictionary& dictionary, std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    if (value == nullptr || value->asString() == nullptr) return {};
    return *value->asString();
}

bool booleanFor(const PropertyList::Dictionary& dictionary, std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    return value != nullptr && value->asBooleanLenient().value_or(false);
}

std::optional<std::int64_t> integerFor(const PropertyList::Dictionary& dictionary,
                                       std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    return value == nullptr ? std::nullopt : value->asIntegerLenient();
}

std::optional<Date> dateFor(const PropertyList::Dictionary& dictionary, std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    if (value == nullptr || value->asDate() == nullptr) return std::nullopt;
    return *value->asDate();
}

}  // namespace siftwell
