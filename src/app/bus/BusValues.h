// BusReader and BusWriter: the arguments of a message, in turn.
//
// A property list travels as a variant: a boolean as "b", an integer as "x", a real as "d", a
// string as "s", data as "ay", a date as the struct "(d)" (seconds since 1970, UTC), an array as
// "av", a dictionary as "a{sv}". Null stands in no container; by itself it is an empty dictionary.
// Integers of every width and arrays and dictionaries of every element type are understood too.
//
// Values are read straight from the message, never by way of the library's own variants, each of
// which is a message in itself: a message of the longest kind would become gigabytes of them.
//
// Threads: one at a time.
// Errors: sdbus::Error, named as statusOf() understands them: TooLarge for what is nested deeper
// than 16 containers, holds more than 100,000 values, or more than 16 MiB of text and data; Invalid
// for types that are no property list. A message may be half written then; it is not sent.
#pragma once

#include <sdbus-c++/Message.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/PropertyList.h"

namespace siftwell {

// The text as it may go out: the bus throws out who sends malformed UTF-8 or a NUL, and its readers
// refuse noncharacters. Each becomes U+FFFD.
std::string busText(std::string_view text);

// What one message may hold.
class BusBudget {
public:
    void takeValue();
    void takeBytes(std::size_t count);
    void enter();
    void leave() { --m_depth; }

private:
    // The bus itself allows 64 nested containers; a level of dictionaries costs three.
    static constexpr int kMaxDepth = 16;
    static constexpr std::size_t kMaxValues = 100'000;
    static constexpr std::size_t kMaxBytes = std::size_t{16} << 20;

    int m_depth = 0;
    std::size_t m_values = 0;
    std::size_t m_bytes = 0;
};

class BusReader {
public:
    explicit BusReader(sdbus::Message& message) : m_message(message) {}

    void read(bool& value) { m_message >> value; }
    void read(std::int32_t& value) { m_message >> value; }
    void read(std::uint32_t& value) { m_message >> value; }
    void read(double& value) { m_message >> value; }
    void read(std::string& value);
    void read(std::vector<std::string>& value);
    void read(PropertyList& value) { value = valueOfAnyType(); }
    void read(PropertyList::Dictionary& value);

    bool isAtEnd() const { return typeOfNext().type == '\0'; }

    // What comes next, of whatever type.
    PropertyList valueOfAnyType();

private:
    struct Type {
        char type = '\0';      // '\0' at the end of a container or message
        std::string contents;  // the signature inside of a container
    };

    Type typeOfNext() const;
    template <typename T>
    T basic();
    PropertyList unsignedInteger();
    PropertyList variant(const std::string& contents);
    PropertyList date(const std::string& contents);
    PropertyList container(const std::string& contents);
    PropertyList::Data data();
    PropertyList::Array array(const std::string& contents);
    PropertyList::Dictionary dictionary(const std::string& contents);

    sdbus::Message& m_message;
    BusBudget m_budget;
};

class BusWriter {
public:
    explicit BusWriter(sdbus::Message& message) : m_message(message) {}

    void write(bool value) { m_message << value; }
    void write(std::int32_t value) { m_message << value; }
    void write(std::uint32_t value) { m_message << value; }
    void write(double value) { m_message << value; }
    void write(const std::string& value);
    void write(const std::vector<std::string>& value);
    void write(const PropertyList& value);
    void write(const PropertyList::Dictionary& value);
    template <typename Other>
    void write(const Other&) = delete;  // a pointer would count as a boolean

private:
    template <typename T>
    void variantOf(const char* signature, const T& value);
    void write(const PropertyList::Data& value);
    void write(Date value);
    void write(const PropertyList::Array& value);

    sdbus::Message& m_message;
    BusBudget m_budget;
};

// ---- The D-Bus type of what is read and written

template <typename T>
inline constexpr const char* kBusSignature = nullptr;
template <>
inline constexpr const char* kBusSignature<bool> = "b";
template <>
inline constexpr const char* kBusSignature<std::int32_t> = "i";
template <>
inline constexpr const char* kBusSignature<std::uint32_t> = "u";
template <>
inline constexpr const char* kBusSignature<double> = "d";
template <>
inline constexpr const char* kBusSignature<std::string> = "s";
template <>
inline constexpr const char* kBusSignature<std::vector<std::string>> = "as";
template <>
inline constexpr const char* kBusSignature<PropertyList> = "v";
template <>
inline constexpr const char* kBusSignature<PropertyList::Dictionary> = "a{sv}";

}  // namespace siftwell
