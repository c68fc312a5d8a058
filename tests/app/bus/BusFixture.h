// BusFixture: threads that talk on the message buses of a test.
#pragma once

#include <gmock/gmock.h>
#include <sdbus-c++/sdbus-c++.h>

#include <functional>
#include <future>
#include <string>
#include <thread>

#include "app/bus/BusErrors.h"
#include "app/bus/BusValues.h"
#include "base/RunLoop.h"
#include "support/TestBus.h"

namespace siftwell {

// What a foreign program on the bus would do.
class BusClient {
public:
    BusClient() : m_connection(sdbus::createSessionBusConnection()) {}

    // The answer, null when it is empty. `write` appends the arguments.
    Result<PropertyList> call(const std::string& interface, const std::string& method,
                              const std::function<void(sdbus::Message&)>& write) {
        std::string path = "/" + interface;
        std::replace(path.begin(), path.end(), '.', '/');
        auto object = sdbus::createProxy(*m_connection, interface, path);
        auto call = object->createMethodCall(interface, method);
        if (write) write(call);
        try {
            auto reply = object->callMethod(call, std::chrono::seconds(20));
            BusReader reader(reply);
            return reader.isAtEnd() ? PropertyList() : reader.valueOfAnyType();
        } catch (const sdbus::Error& error) {
            return statusOf(error);
        }
    }
    template <typename... Arguments>
    Result<PropertyList> call(const std::string& interface, const std::string& method,
                              const Arguments&... arguments) {
        return call(interface, method,
                    std::function<void(sdbus::Message&)>([&](sdbus::Message& message) {
                        BusWriter writer(message);
                        (writer.write(arguments), ...);
                    }));
    }

    sdbus::IConnection& connection() { return *m_connection; }

private:
    std::unique_ptr<sdbus::IConnection> m_connection;
};

// Runs `talk` on another thread while `turn` serves the main loop; what it returns.
template <typename Talk>
auto whileServing(const std::function<void()>& turn, Talk talk) {
    auto answer = std::async(std::launch::async, std::move(talk));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (answer.wait_for(std::chrono::seconds(0)) != std::future_status::ready &&
           std::chrono::steady_clock::now() < end) {
        turn();
        std::this_thread::yield();
    }
    return answer.get();
}

}  // namespace siftwell
