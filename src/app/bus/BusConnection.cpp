#include "app/bus/BusConnection.h"

#include <sdbus-c++/Error.h>
#include <sys/socket.h>

#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Translate.h"

namespace siftwell {

namespace {

using Connected = Result<std::unique_ptr<sdbus::IConnection>>;

std::string nameOf(Bus bus) { return bus == Bus::Session ? "session" : "system"; }

Connected connected(Bus bus, std::chrono::milliseconds limit) {
    try {
        auto connection = bus == Bus::Session ? sdbus::createSessionBusConnection()
                                              : sdbus::createSystemBusConnection();
        connection->setMethodCallTimeout(limit);
        return connection;
    } catch (const sdbus::Error& error) {
        return Status(StatusCode::NotFound,
                      filledIn(_("There is no %@ bus here: %@."), nameOf(bus), error.getMessage()));
    }
}

}  // namespace

Connected connectTo(Bus bus, std::chrono::milliseconds limit) {
    auto promise = std::make_shared<std::promise<Connected>>();
    auto future = promise->get_future();
    try {
        // A bus that accepts and then says nothing keeps the library waiting far longer; the
        // thread is left then, and drops what it gets in the end.
        std::thread([promise, bus, limit] { promise->set_value(connected(bus, limit)); }).detach();
    } catch (const std::system_error& error) {
        return Status::fromErrno(error.code().value(), "start a thread");
    }
    if (future.wait_for(limit) != std::future_status::ready) {
        return Status(StatusCode::Busy, filledIn(_("The %@ bus does not answer."), nameOf(bus)));
    }
    return future.get();
}

void shutDown(const sdbus::IConnection& connection) {
    try {
        ::shutdown(connection.getEventLoopPollData().fd, SHUT_RDWR);
    } catch (const sdbus::Error&) {
        // It is closed already.
        return;
    }
}

}  // namespace siftwell
