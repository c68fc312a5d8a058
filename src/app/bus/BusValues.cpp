#include "app/bus/BusValues.h"

#include <sdbus-c++/Error.h>

#include <cmath>
#include <utility>

#include "app/bus/BusErrors.h"
#include "base/Translate.h"
#include "text/Utf8.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

[[noreturn]] void refuse(StatusCode code, std::string message) {
    throw busErrorOf(Status(code, std::move(message)));
}

// One container deeper, for as long as it lives.
class Level {
public:
    explicit Level(BusBudget& budget) : m_budget(budget) { m_budget.enter(); }
    ~Level() { m_budget.leave(); }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    BusBudget& m_budget;
};

// Those that Unicode keeps for no character ever.
bool isNoncharacter(char32_t character) {
    return (character >= 0xFDD0 && character <= 0xFDEF) || (character & 0xFFFE) == 0xFFFE;
}

bool isBusText(std::string_view text) {
    if (!isValidUtf8(text) || text.find('\0') != std::string_view::npos) return false;
    for (std::size_t at = asciiPrefix(text); at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        if (isNoncharacter(next.character)) return false;
        at += next.bytes;
    }
    return true;
}

}  // namespace

std::string busText(std::string_view text) {
    if (isBusText(text)) return std::string(text);
    const std::string valid = repairedUtf8(text);
    std::string result;
    for (std::size_t at = 0; at < valid.size();) {
        const Utf8Character next = utf8CharacterAt(valid, at);
        const bool isAllowed = next.character != 0 && !isNoncharacter(next.character);
        appendUtf8(result, isAllowed ? next.character : kReplacementCharacter);
        at += next.bytes;
    }
    return result;
}

void BusBudget::takeValue() {
    if (++m_values > kMaxValues) refuse(StatusCode::TooLarge, _("There are too many values."));
}

void BusBudget::takeBytes(std::size_t count) {
    if (count > kMaxBytes - m_bytes) refuse(StatusCode::TooLarge, _("The values are too long."));
    m_bytes += count;
}

void BusBudget::enter() {
    if (m_depth >= kMaxDepth) {
        refuse(StatusCode::TooLarge, _("The values are nested too deeply."));
    }
    ++m_depth;
}

// ---- Reading

BusReader::Type BusReader::typeOfNext() const {
    std::string type;
    Type next;
    m_message.peekType(type, next.contents);
    next.type = type.empty() ? '\0' : type.front();
    return next;
}

template <typename T>
T BusReader::basic() {
    T value{};
    m_message >> value;
    return value;
}

void BusReader::read(std::string& value) {
    m_message >> value;
    m_budget.takeBytes(value.size());
}

void BusReader::read(std::vector<std::string>& value) {
    value.clear();
    m_message.enterContainer("s");
    while (!isAtEnd()) {
        m_budget.takeValue();
        read(value.emplace_back());
    }
    m_message.exitContainer();
}

void BusReader::read(PropertyList::Dictionary& value) {
    const Level level(m_budget);
    value = dictionary(typeOfNext().contents);
}

PropertyList BusReader::valueOfAnyType() {
    const Type next = typeOfNext();
    if (next.type == 'v') return variant(next.contents);
    m_budget.takeValue();
    switch (next.type) {
        case 'b':
            return basic<bool>();
        case 'y':
            return std::int64_t{basic<std::uint8_t>()};
        case 'n':
            return std::int64_t{basic<std::int16_t>()};
        case 'q':
            return std::int64_t{basic<std::uint16_t>()};
        case 'i':
            return std::int64_t{basic<std::int32_t>()};
        case 'u':
            return std::int64_t{basic<std::uint32_t>()};
        case 'x':
            return basic<std::int64_t>();
        case 't':
            return unsignedInteger();
        case 'd':
            return basic<double>();
        case 's': {
            std::string text;
            read(text);
            return text;
        }
        case 'r':
            return date(next.contents);
        case 'a':
            return container(next.contents);
        default:
            refuse(StatusCode::Invalid,
                   filledIn(_("Values of the D-Bus type \"%@\" are not understood."),
                            std::string(1, next.type)));
    }
}

PropertyList BusReader::unsignedInteger() {
    const auto value = basic<std::uint64_t>();
    if (!std::in_range<std::int64_t>(value)) {
        refuse(StatusCode::Invalid, _("The number is too large."));
    }
    return static_cast<std::int64_t>(value);
}

PropertyList BusReader::variant(const std::string& contents) {
    const auto value = [&] {
        m_message.enterVariant(contents);
        PropertyList inside = valueOfAnyType();
        m_message.exitVariant();
        return inside;
    };
    if (contents != "v") return value();
    const Level level(m_budget);
    return value();
}

PropertyList BusReader::date(const std::string& contents) {
    if (contents != "d") {
        refuse(StatusCode::Invalid,
               filledIn(_("Values of the D-Bus type \"%@\" are not understood."),
                        "(" + contents + ")"));
    }
    m_message.enterStruct(contents);
    const double seconds = basic<double>();
    m_message.exitStruct();
    if (!std::isfinite(seconds)) refuse(StatusCode::Invalid, _("The date is no number."));
    return Date::fromUnix(seconds);
}

PropertyList BusReader::container(const std::string& contents) {
    const Level level(m_budget);
    if (contents == "y") return data();
    if (contents.starts_with('{')) return dictionary(contents);
    return array(contents);
}

PropertyList::Data BusReader::data() {
    PropertyList::Data result;
    m_message.enterContainer("y");
    for (std::uint8_t byte = 0; m_message >> byte;) {
        m_budget.takeBytes(1);
        result.bytes += static_cast<char>(byte);
    }
    m_message.clearFlags();
    m_message.exitContainer();
    return result;
}

PropertyList::Array BusReader::array(const std::string& contents) {
    PropertyList::Array result;
    m_message.enterContainer(contents);
    while (!isAtEnd()) result.push_back(valueOfAnyType());
    m_message.exitContainer();
    return result;
}

PropertyList::Dictionary BusReader::dictionary(const std::string& contents) {
    if (!contents.starts_with("{s")) {
        refuse(StatusCode::Invalid, _("The keys of a dictionary are no texts."));
    }
    const std::string entry = contents.substr(1, contents.size() - 2);
    PropertyList::Dictionary result;
    m_message.enterContainer(contents);
    while (!isAtEnd()) {
        m_message.enterDictEntry(entry);
        std::string key;
        m_budget.takeValue();
        read(key);
        result.insert_or_assign(std::move(key), valueOfAnyType());
        m_message.exitDictEntry();
    }
    m_message.exitContainer();
    return result;
}

// ---- Writing

void BusWriter::write(const std::string& value) {
    const std::string text = busText(value);
    m_budget.takeBytes(text.size());
    m_message << text;
}

void BusWriter::write(const std::vector<std::string>& value) {
    m_message.openContainer("s");
    for (const std::string& each : value) {
        m_budget.takeValue();
        write(each);
    }
    m_message.closeContainer();
}

template <typename T>
void BusWriter::variantOf(const char* signature, const T& value) {
    m_message.openVariant(signature);
    write(value);
    m_message.closeVariant();
}

void BusWriter::write(const PropertyList& value) {
    m_budget.takeValue();
    if (const auto* boolean = value.asBoolean()) return variantOf("b", *boolean);
    if (const auto* real = value.asReal()) return variantOf("d", *real);
    if (const auto* text = value.asString()) return variantOf("s", *text);
    if (const auto* bytes = value.asData()) return variantOf("ay", *bytes);
    if (const auto* date = value.asDate()) return variantOf("(d)", *date);
    if (const auto* list = value.asArray()) return variantOf("av", *list);
    if (const auto* integer = value.asInteger()) {
        m_message.openVariant("x");
        m_message << *integer;
        m_message.closeVariant();
        return;
    }
    const auto* entries = value.asDictionary();
    variantOf("a{sv}", entries == nullptr ? PropertyList::Dictionary() : *entries);
}

void BusWriter::write(const PropertyList::Data& value) {
    m_budget.takeBytes(value.bytes.size());
    m_message.openContainer("y");
    for (const char byte : value.bytes) m_message << static_cast<std::uint8_t>(byte);
    m_message.closeContainer();
}

void BusWriter::write(Date value) {
    m_message.openStruct("d");
    m_message << value.secondsSinceUnix();
    m_message.closeStruct();
}

void BusWriter::write(const PropertyList::Array& value) {
    const Level level(m_budget);
    m_message.openContainer("v");
    for (const PropertyList& each : value) {
        if (!each.isNull()) write(each);
    }
    m_message.closeContainer();
}

void BusWriter::write(const PropertyList::Dictionary& value) {
    const Level level(m_budget);
    m_message.openContainer("{sv}");
    for (const auto& [key, each] : value) {
        if (each.isNull()) continue;
        m_message.openDictEntry("sv");
        m_budget.takeValue();
        write(key);
        write(each);
        m_message.closeDictEntry();
    }
    m_message.closeContainer();
}

}  // namespace siftwell
