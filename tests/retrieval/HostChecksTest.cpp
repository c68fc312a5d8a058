#include "retrieval/HostChecks.h"

#include <gmock/gmock.h>

#include <latch>
#include <map>
#include <thread>

namespace siftwell {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Names that begin with "dead" are answered when the test lets them, passwords of "locked" too.
class SomeNetwork : public NetworkReachability {
public:
    bool isReachable(const std::string&) override { return true; }
    bool isHostReachable(const std::string& host) override {
        if (host.starts_with("dead")) answered.wait();
        return host != "gone";
    }
    std::latch answered{1};
};

class SomeCredentials : public CredentialStore {
public:
    explicit SomeCredentials(std::latch& unlocked) : m_unlocked(unlocked) {}
    std::vector<ProtectionSpace> protectionSpaces(const std::string& host) override {
        if (host == "locked") m_unlocked.wait();
        std::vector<ProtectionSpace> spaces;
        spaces.push_back({.host = host});
        return spaces;
    }

private:
    std::latch& m_unlocked;
};

class HostChecksTest : public testing::Test {
protected:
    ~HostChecksTest() override {
        m_checks.reset();
        m_network->answered.count_down();
    }

    // What becomes of the questions, by host; waits for so many answers.
    std::map<std::string, HostChecks::Answer> answers(std::size_t count) {
        std::map<std::string, HostChecks::Answer> all;
        const auto latest = std::chrono::steady_clock::now() + seconds(20);
        while (all.size() < count && std::chrono::steady_clock::now() < latest) {
            for (auto& answer : m_checks->takeAnswers()) {
                const std::string host = answer.question.host;
                EXPECT_TRUE(all.emplace(host, std::move(answer)).second) << host;
            }
            m_signal->wait(milliseconds(5));
        }
        EXPECT_EQ(all.size(), count);
        return all;
    }

    std::shared_ptr<SomeNetwork> m_network = std::make_shared<SomeNetwork>();
    std::shared_ptr<WorkSignal> m_signal = std::make_shared<WorkSignal>();
    std::unique_ptr<HostChecks> m_checks = std::make_unique<HostChecks>(
        m_network, std::make_shared<SomeCredentials>(m_network->answered), m_signal,
        milliseconds(100));
};

TEST_F(HostChecksTest, NamesThatNobodyAnswersForHoldUpNoOthers) {
    for (int i = 0; i < 20; ++i) m_checks->ask({"dead" + std::to_string(i)});
    for (int i = 0; i < 20; ++i) m_checks->ask({"alive" + std::to_string(i)});
    m_checks->ask({"gone"});
    m_checks->ask({"alive0"});
    const auto all = answers(41);
    for (const auto& [host, answer] : all) {
        EXPECT_EQ(answer.isReachable, host.starts_with("alive")) << host;
    }
    // What comes too late is not told again.
    m_network->answered.count_down();
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_TRUE(m_checks->takeAnswers().empty());
    m_checks->ask({"dead1"});
    EXPECT_TRUE(answers(1).at("dead1").isReachable);
}

TEST_F(HostChecksTest, AKeyringThatHangsMakesNoHostUnreachable) {
    m_checks->ask({"locked", true});
    m_checks->ask({"open", true});
    m_checks->ask({"unasked", false});
    const auto all = answers(3);
    EXPECT_TRUE(all.at("locked").isReachable);
    EXPECT_EQ(all.at("locked").spaces.size(), 0U);
    EXPECT_EQ(all.at("open").spaces.size(), 1U);
    EXPECT_EQ(all.at("unasked").spaces.size(), 0U);
}

}  // namespace
}  // namespace siftwell
