// BusServicesFixture: the services of a copy of the program on a bus of the test's own.
#pragma once

#include "FakeDriver.h"
#include "app/bus/BusFixture.h"
#include "app/bus/BusServices.h"
#include "retrieval/RetrieverFixture.h"

namespace siftwell {

class BusServicesFixture : public RetrieverFixture {
protected:
    ~BusServicesFixture() override { m_services.reset(); }

    Result<std::unique_ptr<BusServices>> openServices() {
        return BusServices::open({.driver = m_driver,
                                  .notifier = m_notifier,
                                  .centre = m_centre,
                                  .retriever = retriever(),
                                  .mainLoop = m_loop,
                                  .runningSearchItemForProcess = [this](const std::string& name) {
                                      return name == "Tester.1.2" ? m_runningItem : std::nullopt;
                                  }});
    }
    void offer() {
        auto services = openServices();
        ASSERT_TRUE(services) << services.status().message();
        m_services = *std::move(services);
    }

    // The main loop is served meanwhile.
    template <typename Talk>
    auto serving(Talk talk) {
        return whileServing([this] { m_loop.turn(m_turn); }, std::move(talk));
    }
    template <typename... Arguments>
    Result<PropertyList> call(const std::string& interface, const std::string& method,
                              const Arguments&... arguments) {
        return serving([&] { return BusClient().call(interface, method, arguments...); });
    }

    TestBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    std::chrono::milliseconds m_turn{1};  // how fast time passes for the main loop
    FakeDriver m_driver;
    std::optional<SearchItem> m_runningItem;
    std::unique_ptr<BusServices> m_services;
};

}  // namespace siftwell
