#include "app/bus/VLDebugConnection.h"

#include <gmock/gmock.h>

#include "app/bus/BusFixture.h"
#include "support/LoggedLines.h"

namespace siftwell {
namespace {

using testing::ElementsAre;

std::string hex(const void* pointer) {
    char text[16];
    std::snprintf(text, sizeof text, "%x",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer)));
    return text;
}

class VLDebugConnectionTest : public testing::Test {
protected:
    std::shared_ptr<VLDebugConnection> connection() {
        return std::make_shared<VLDebugConnection>(sdbus::createSessionBusConnection(), *m_loop);
    }

    LoggedLines m_log;
    TestBus m_bus;
    std::unique_ptr<RunLoop> m_loop = makeHeadlessRunLoop();
};

TEST_F(VLDebugConnectionTest, ItsLifeIsLogged) {
    auto parent = connection();
    const std::string at = hex(parent.get());
    const std::string name = parent->connection()->getUniqueName();
    EXPECT_THAT(
        m_log.take(),
        ElementsAre("VLDC: " + at + " initializing connection\r\treceivePort = " + name +
                        "\r\tsendPort = org.freedesktop.DBus\r\trunloop = " + hex(m_loop.get()),
                    "VLDC: connection " + name + " initialized", "VLDC: on same RunLoop"));
    auto child = connection();
    const std::string childName = child->connection()->getUniqueName();
    m_log.take();
    EXPECT_TRUE(parent->shouldMakeNewConnection(child));
    EXPECT_TRUE(parent->registerName("com.example.Name"));
    EXPECT_FALSE(child->registerName("com.example.Name"));
    std::thread([&] { parent->connectionDidDie(); }).join();
    EXPECT_THAT(
        m_log.take(),
        ElementsAre(
            "VLDC: " + at + " shouldMakeNewConnection " + hex(child.get()),
            "VLDC: adding child " + childName, "VLDC: " + at + " registered name com.example.Name",
            "VLDC: ERROR! " + hex(child.get()) + " could not register name com.example.Name",
            "VLDC: connection " + name + " died", "VLDC: on different RunLoop"));
    parent->invalidate();
    EXPECT_EQ(parent->connection(), nullptr);
    EXPECT_EQ(child->connection(), nullptr);
    EXPECT_TRUE(parent->children().empty());
    child.reset();
    EXPECT_FALSE(parent->registerName("com.example.Name"));
    EXPECT_THAT(m_log.take(),
                ElementsAre("VLDC: invalidate " + name, "VLDC: Invalidating child " + childName,
                            "VLDC: invalidate " + childName, "VLDC: dealloc " + childName,
                            "VLDC: ERROR! " + at + " could not register name com.example.Name"));
}

TEST_F(VLDebugConnectionTest, EveryRequestIsLoggedWithItsArgumentsAndStillAnswered) {
    auto service = connection();
    auto object = sdbus::createObject(*service->connection(), "/com/example/Name");
    std::string received;
    object->registerMethod("com.example.Name", "doIt", "suiyxdba{sv}vo", "",
                           service->logged([&](sdbus::MethodCall call) {
                               call >> received;
                               call.createReply().send();
                           }));
    object->finishRegistration();
    service->registerName("com.example.Name");
    m_log.take();
    const std::string name = service->connection()->getUniqueName();
    const auto answer = whileServing(
        [&] { service->connection()->processPendingRequest(); },
        [] {
            const std::function<void(sdbus::Message&)> write = [](sdbus::Message& message) {
                message << "text" << std::uint32_t{7} << std::int32_t{-8} << std::uint8_t{'c'}
                        << std::int64_t{9} << 1.5 << true
                        << std::map<std::string, sdbus::Variant>{{"k", sdbus::Variant(3)}}
                        << sdbus::Variant(std::vector<std::string>{"a", "b"})
                        << sdbus::ObjectPath("/p");
            };
            return BusClient().call("com.example.Name", "doIt", write);
        });
    EXPECT_TRUE(answer) << answer.status().message();
    EXPECT_EQ(received, "text");
    EXPECT_THAT(m_log.take(),
                ElementsAre("VLDC: Handling request for connection " + name,
                            "VLDC: " + hex(service.get()) +
                                " method = doIt 'text' (s) 7d -8 c 9 1.500000 1 '{ k = 3; }' "
                                "(a{sv}) '(a, b)' (as) <DID NOT PARSE>"));
}

}  // namespace
}  // namespace siftwell
