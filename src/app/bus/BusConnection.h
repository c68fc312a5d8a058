// Connecting to a message bus in bounded time.
//
// Threads: any.
#pragma once

#include <sdbus-c++/IConnection.h>

#include <chrono>
#include <memory>

#include "base/Status.h"

namespace siftwell {

// How long anybody waits for an answer from the bus.
inline constexpr std::chrono::milliseconds kBusTimeLimit = std::chrono::seconds(5);

enum class Bus {
    Session,  // DBUS_SESSION_BUS_ADDRESS, or the socket in XDG_RUNTIME_DIR
    System,   // DBUS_SYSTEM_BUS_ADDRESS, or the usual socket
};

// A connection whose calls wait no longer than `limit`. NotFound when there is no such bus, Busy
// when it does not answer.
Result<std::unique_ptr<sdbus::IConnection>> connectTo(
    Bus bus, std::chrono::milliseconds limit = kBusTimeLimit);

// Ends what a thread is doing with the connection; what was not sent yet is lost. Without it, a bus
// that no longer reads could hold up the end of a connection for ever.
void shutDown(const sdbus::IConnection& connection);

}  // namespace siftwell
