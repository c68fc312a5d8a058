#include "app/bus/LogindSleepWatch.h"

#include <gmock/gmock.h>

#include "app/bus/BusFixture.h"
#include "base/Processes.h"
#include "support/LoggedLines.h"
#include "support/TestRunLoop.h"
#include "support/WaitUntil.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPython = "/usr/bin/python3";

class LogindSleepWatchTest : public testing::Test {
protected:
    static bool hasMock() {
        const auto outcome =
            SystemProcesses().run({.arguments = {kPython, "-c", "import dbusmock"}}, {});
        return outcome && outcome->isSuccess();
    }
    LogindSleepWatch::Handlers handlers() {
        return {.willSleep = [this] { m_told.emplace_back("sleep"); },
                .didWake = [this] { m_told.emplace_back("wake"); }};
    }

    LoggedLines m_log;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::vector<std::string> m_told;
};

// The system bus of a test, with a logind on it.
class Logind {
public:
    Logind() : m_connection(sdbus::createSystemBusConnection()) {
        auto bus =
            sdbus::createProxy(*m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
        waitUntil([&bus, isThere = false]() mutable {
            bus->callMethod("NameHasOwner")
                .onInterface("org.freedesktop.DBus")
                .withArguments(std::string("org.freedesktop.login1"))
                .storeResultsTo(isThere);
            return isThere;
        });
    }

    void prepareForSleep(bool isGoingToSleep) {
        sdbus::createProxy(*m_connection, "org.freedesktop.login1", "/org/freedesktop/login1")
            ->callMethod("EmitSignal")
            .onInterface("org.freedesktop.DBus.Mock")
            .withArguments(std::string("org.freedesktop.login1.Manager"),
                           std::string("PrepareForSleep"), std::string("b"),
                           std::vector<sdbus::Variant>{sdbus::Variant(isGoingToSleep)});
    }

private:
    std::unique_ptr<sdbus::IConnection> m_connection;
};

TEST_F(LogindSleepWatchTest, SleepAndWakingAreToldOnTheMainLoop) {
    if (!hasMock()) GTEST_SKIP() << "python3-dbusmock is missing";
    TestBus bus("DBUS_SYSTEM_BUS_ADDRESS");
    Daemon mock({kPython, "-m", "dbusmock", "--system", "--template", "logind"});
    Logind logind;
    const auto serveUntil = [this](std::size_t count) {
        waitUntil([&] {
            m_loop.drain();
            return m_told.size() >= count;
        });
    };
    {
        LogindSleepWatch watch(m_loop);
        watch.setHandlers(handlers());
        logind.prepareForSleep(true);
        logind.prepareForSleep(false);
        serveUntil(2);
        EXPECT_THAT(m_told, ElementsAre("sleep", "wake"));
        watch.setHandlers({.willSleep = nullptr, .didWake = handlers().didWake});
        logind.prepareForSleep(true);
        logind.prepareForSleep(false);
        serveUntil(3);
        EXPECT_THAT(m_told, ElementsAre("sleep", "wake", "wake"));
        logind.prepareForSleep(true);
    }
    m_loop.drain();
    EXPECT_THAT(m_told, testing::SizeIs(3)) << "told after the end of the watch";
}

TEST_F(LogindSleepWatchTest, WithoutASystemBusNothingIsTold) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    {
        LogindSleepWatch watch(m_loop);
        watch.setHandlers(handlers());
        m_loop.drain();
    }
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    EXPECT_THAT(m_told, IsEmpty());
}

}  // namespace
}  // namespace siftwell
