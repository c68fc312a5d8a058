// PropertyList: a value of the kind that settings, notifications and property-list files hold.
//
// A string-keyed tree of booleans, 64-bit integers, doubles, strings, byte buffers, dates, arrays
// and dictionaries. Typed getters answer none for another type; `as…Lenient` readers convert the
// way settings are read ("1" is true and 1).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/Date.h"

namespace siftwell {

class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;
    struct Data {
        std::string bytes;
        bool operator==(const Data&) const = default;
    };

    PropertyList() = default;  // null: stands for "none" in notifications, is never stored in files
    PropertyList(bool value) : m_value(value) {}                      // NOLINT(*-explicit-*)
    PropertyList(int value) : m_value(std::int64_t{value}) {}         // NOLINT(*-explicit-*)
    PropertyList(std::int64_t value) : m_value(value) {}              // NOLINT(*-explicit-*)
    PropertyList(double value) : m_value(value) {}                    // NOLINT(*-explicit-*)
    PropertyList(const char* value) : m_value(std::string(value)) {}  // NOLINT(*-explicit-*)
    PropertyList(std::string value) : m_value(std::move(value)) {}    // NOLINT(*-explicit-*)
    PropertyList(Data value) : m_value(std::move(value)) {}           // NOLINT(*-explicit-*)
    PropertyList(Date value) : m_value(value) {}                      // NOLINT(*-explicit-*)
    PropertyList(Array value) : m_value(std::move(value)) {}          // NOLINT(*-explicit-*)
    PropertyList(Dictionary value) : m_value(std::move(value)) {}     // NOLINT(*-explicit-*)

    bool isNull() const { return std::holds_alternative<std::monostate>(m_value); }

    const bool* asBoolean() const { return std::get_if<bool>(&m_value); }
    const std::int64_t* asInteger() const { return std::get_if<std::int64_t>(&m_value); }
    const double* asReal() const { return std::get_if<double>(&m_value); }
    const std::string* asString() const { return std::get_if<std::string>(&m_value); }
    const Data* asData() const { return std::get_if<Data>(&m_value); }
    const Date* asDate() const { return std::get_if<Date>(&m_value); }
    const Array* asArray() const { return std::get_if<Array>(&m_value); }
    const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&m_value); }
    Array* asArray() { return std::get_if<Array>(&m_value); }
    Dictionary* asDictionary() { return std::get_if<Dictionary>(&m_value); }

    // Numbers, booleans and the text of either; a text that is no number counts as 0 and false,
    // "YES", "yes", "true" and the like as true. Null, dates, data and containers: none.
    std::optional<bool> asBooleanLenient() const;
    std::optional<std::int64_t> asIntegerLenient() const;
    std::optional<double> asRealLenient() const;

    bool operator==(const PropertyList&) const = default;

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array,
                 Dictionary>
        m_value;
};

// The value under `key`, or null.
const PropertyList* find(const PropertyList::Dictionary& dictionary, std::string_view key);

// Shorthands for the common look-ups in dictionaries; empty or none when missing or of other type.
std::string stringFor(const PropertyList::Dictionary& dictionary, std::string_view key);
bool booleanFor(const PropertyList::Dictionary& dictionary, std::string_view key);
std::optional<std::int64_t> integerFor(const PropertyList::Dictionary& dictionary,
                                       std::string_view key);
std::optional<Date> dateFor(const PropertyList::Dictionary& dictionary, std::string_view key);

}  // namespace siftwell
