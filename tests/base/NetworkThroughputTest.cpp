#include "base/NetworkThroughput.h"

#include <gmock/gmock.h>

#include "support/TestClock.h"

namespace siftwell {
namespace {

using Interfaces = std::vector<InterfaceCounters>;

class NetworkThroughputTest : public testing::Test {
protected:
    // A sample of that many seconds, between these two states of the interfaces.
    int sample(const std::optional<Interfaces>& before, const std::optional<Interfaces>& after,
               float seconds = 5.0F) {
        m_received = m_sent = 77;
        bool isFirst = true;
        return GetNetworkThroughput(m_received, m_sent, seconds, m_clock,
                                    [&] { return std::exchange(isFirst, false) ? before : after; });
    }

    TestClock m_clock;
    std::uint64_t m_received = 0;
    std::uint64_t m_sent = 0;
};

TEST_F(NetworkThroughputTest, RatesAreThoseOfAllInterfacesThatWereUpAndAreStillThere) {
    EXPECT_EQ(sample(Interfaces{{"eth0", true, 1000, 4000000000},
                                {"wlan0", true, 0, 0},
                                {"eth1", false, 0, 0},
                                {"usb0", true, 0, 0},
                                {"lo", true, 0, 0}},
                     Interfaces{{"lo", true, 9999, 9999},
                                {"wlan0", false, 500, 5},
                                {"eth1", true, 9999, 9999},
                                {"new0", true, 9999, 9999},
                                {"eth0", true, 51000, 4000000020}}),
              0);
    EXPECT_EQ(m_received, 10100U);
    EXPECT_EQ(m_sent, 5U);
    EXPECT_EQ(m_clock.slept(), std::chrono::seconds(5));
}

TEST_F(NetworkThroughputTest, ListThatCannotBeReadIsAFailureWithoutRates) {
    EXPECT_EQ(sample(std::nullopt, Interfaces{}), -1);
    EXPECT_EQ(m_received + m_sent, 0U);
    EXPECT_EQ(m_clock.slept().count(), 0);
    EXPECT_EQ(sample(Interfaces{}, std::nullopt), -1);
    EXPECT_EQ(m_received + m_sent, 0U);
}

// The sum is -101 modulo 2^64 by one interface, to which the other adds 1000.
TEST_F(NetworkThroughputTest, CounterThatBeganAnewLowersTheSum) {
    const Interfaces before{{"eth0", true, 100, 4294967295}, {"eth1", true, 0, 0}};
    sample(before, Interfaces{{"eth0", true, 0, 4294967195}, {"eth1", true, 1001, 1101}}, 1.0F);
    EXPECT_EQ(m_received, 900U);
    EXPECT_EQ(m_sent, 1000U);
    sample(before, Interfaces{{"eth0", true, 0, 4294967295}}, 4.0F);
    EXPECT_EQ(m_received, std::uint64_t{1} << 62U);
}

TEST_F(NetworkThroughputTest, RatesStayInTheirRangeWhateverTheClockDoes) {
    const Interfaces before{{"eth0", true, 100, 0}};
    const Interfaces after{{"eth0", true, 0, 1000}};
    const auto rates = [&](float seconds) { return throughputBetween(before, after, seconds); };
    EXPECT_EQ(rates(0.0F).sentPerSecond, ~std::uint64_t{0});
    EXPECT_EQ(rates(0.5F).receivedPerSecond, ~std::uint64_t{0});
    EXPECT_EQ(rates(-3.0F).sentPerSecond, 0U);
    EXPECT_EQ(throughputBetween({}, {}, 0.0F).sentPerSecond, 0U);
}

TEST_F(NetworkThroughputTest, InterfacesOfThisComputerCanBeRead) {
    EXPECT_TRUE(readInterfaces().has_value());
}

}  // namespace
}  // namespace siftwell
