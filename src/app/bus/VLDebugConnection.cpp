#include "app/bus/VLDebugConnection.h"

#include <sdbus-c++/Error.h>

#include <cstdio>
#include <utility>

#include "app/bus/BusValues.h"
#include "base/Log.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

// "%x" of an address: its lower 32 bits.
std::string hexOf(const void* pointer) {
    char text[16];
    std::snprintf(text, sizeof text, "%x",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer)));
    return text;
}

std::string descriptionOf(const PropertyList& value) {
    if (const auto* text = value.asString()) return *text;
    if (const auto* date = value.asDate()) return date->iso8601();
    if (const auto* data = value.asData()) return std::to_string(data->bytes.size()) + " bytes";
    std::string description;
    if (const auto* list = value.asArray()) {
        for (const PropertyList& each : *list) {
            description += (description.empty() ? "" : ", ") + descriptionOf(each);
        }
        return "(" + description + ")";
    }
    if (const auto* entries = value.asDictionary()) {
        for (const auto& [key, each] : *entries) {
            description += key + " = " + descriptionOf(each) + "; ";
        }
        return "{ " + description + "}";
    }
    if (const auto real = value.asReal()) return std::to_string(*real);
    return std::to_string(value.asIntegerLenient().value_or(0));
}

std::string formatted(char type, const std::string& signature, const PropertyList& value) {
    switch (type) {
        case 'y':
            return std::string(" ") + static_cast<char>(value.asIntegerLenient().value_or(0));
        case 'q':
        case 'u':
        case 't':
            return " " + descriptionOf(value) + "d";  // the format says "%ud"
        case 'b':
        case 'n':
        case 'i':
        case 'x':
        case 'd':
            return " " + descriptionOf(value);
        default:
            return " '" + descriptionOf(value) + "' (" + signature + ")";
    }
}

// Reads the next argument; false when there is none or it cannot be read.
bool appendArgument(std::string& line, sdbus::Message& message, BusReader& reader) {
    std::string type;
    std::string contents;
    message.peekType(type, contents);
    if (type.empty() || type.front() == '\0') return false;
    try {
        const std::string signature = type == "v"   ? contents
                                      : type == "r" ? "(" + contents + ")"
                                                    : type + contents;
        line += formatted(signature.front(), signature, reader.valueOfAnyType());
        return true;
    } catch (const sdbus::Error&) {
        line += " <DID NOT PARSE>";
        return false;
    }
}

}  // namespace

VLDebugConnection::VLDebugConnection(std::unique_ptr<sdbus::IConnection> connection,
                                     const RunLoop& runLoop)
    : m_connection(std::move(connection)),
      m_description(m_connection->getUniqueName()),
      m_runLoop(runLoop) {
    writeLog(
        filledIn("VLDC: %@ initializing connection\r\treceivePort = %@\r\tsendPort = %@\r\t"
                 "runloop = %@",
                 address(), m_description, "org.freedesktop.DBus", hexOf(&runLoop)));
    writeLog("VLDC: connection " + m_description + " initialized");
    logRunLoop();
}

VLDebugConnection::~VLDebugConnection() { writeLog("VLDC: dealloc " + m_description); }

std::string VLDebugConnection::address() const { return hexOf(this); }

void VLDebugConnection::logRunLoop() const {
    writeLog(m_runLoop.isOwnedByThisThread() ? "VLDC: on same RunLoop"
                                             : "VLDC: on different RunLoop");
}

void VLDebugConnection::addChild(std::shared_ptr<VLDebugConnection> child) {
    writeLog("VLDC: adding child " + child->m_description);
    m_children.push_back(std::move(child));
}

bool VLDebugConnection::shouldMakeNewConnection(std::shared_ptr<VLDebugConnection> newConnection) {
    writeLog("VLDC: " + address() + " shouldMakeNewConnection " + newConnection->address());
    addChild(std::move(newConnection));
    return true;
}

bool VLDebugConnection::registerName(const std::string& name) {
    try {
        if (m_connection == nullptr) throw sdbus::Error("org.freedesktop.DBus.Error.Disconnected");
        m_connection->requestName(name);
        writeLog("VLDC: " + address() + " registered name " + name);
        return true;
    } catch (const sdbus::Error&) {
        writeLog("VLDC: ERROR! " + address() + " could not register name " + name);
        return false;
    }
}

void VLDebugConnection::connectionDidDie() const {
    writeLog("VLDC: connection " + m_description + " died");
    logRunLoop();
}

void VLDebugConnection::invalidate() {
    writeLog("VLDC: invalidate " + m_description);
    m_connection.reset();
    for (const auto& child : m_children) {
        writeLog("VLDC: Invalidating child " + child->m_description);
        child->invalidate();
    }
    m_children.clear();
}

sdbus::method_callback VLDebugConnection::logged(sdbus::method_callback handler) const {
    return [this, handler = std::move(handler)](sdbus::MethodCall call) {
        logRequest(call);
        handler(std::move(call));
    };
}

void VLDebugConnection::logRequest(sdbus::MethodCall& call) const {
    writeLog("VLDC: Handling request for connection " + m_description);
    std::string line = "VLDC: " + address() + " method = " + call.getMemberName();
    BusReader reader(call);
    while (appendArgument(line, call, reader)) {
    }
    writeLog(line);
    call.rewind(true);
}

}  // namespace siftwell
