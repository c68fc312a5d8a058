// VLDebugConnection: a connection to the bus that logs its life and every request, for whoever
// looks for the cause of something.
//
// Its ports are the unique names on either end; what is called an object in the log is a text, a
// date or a container, and its class is its D-Bus type.
//
// Threads: that of the connection.
#pragma once

#include <sdbus-c++/IConnection.h>
#include <sdbus-c++/IObject.h>
#include <sdbus-c++/Message.h>

#include <memory>
#include <string>
#include <vector>

#include "base/RunLoop.h"

namespace siftwell {

class VLDebugConnection {
public:
    // The loop is that of the thread which makes the connection, and outlives it.
    VLDebugConnection(std::unique_ptr<sdbus::IConnection> connection, const RunLoop& runLoop);
    ~VLDebugConnection();

    // Null once it is invalid.
    sdbus::IConnection* connection() { return m_connection.get(); }
    const std::vector<std::shared_ptr<VLDebugConnection>>& children() const { return m_children; }

    void addChild(std::shared_ptr<VLDebugConnection> child);
    // Always true; the new connection is a child from then on.
    bool shouldMakeNewConnection(std::shared_ptr<VLDebugConnection> newConnection);
    bool registerName(const std::string& name);
    void connectionDidDie() const;
    void invalidate();  // closes it and its children

    // The handler, with every call of it logged first.
    sdbus::method_callback logged(sdbus::method_callback handler) const;

private:
    std::string address() const;
    void logRunLoop() const;
    void logRequest(sdbus::MethodCall& call) const;

    std::unique_ptr<sdbus::IConnection> m_connection;
    const std::string m_description;
    const RunLoop& m_runLoop;
    std::vector<std::shared_ptr<VLDebugConnection>> m_children;
};

}  // namespace siftwell
