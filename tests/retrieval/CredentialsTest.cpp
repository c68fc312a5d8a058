#include <gio/gio.h>
#include <gmock/gmock.h>
#include <libsecret/secret.h>
#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <set>

#include "base/Mutex.h"
#include "base/Processes.h"
#include "retrieval/SecretServiceCredentials.h"
#include "support/LoggedLines.h"
#include "support/TestBus.h"
#include "support/WaitUntil.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Unlocking = SecretServiceCredentials::Unlocking;

constexpr std::chrono::milliseconds kShort(400);
constexpr std::chrono::seconds kLong(60);

// A service with one locked entry, which no longer answers from a certain call on.
class HangingService {
public:
    explicit HangingService(std::string hangsAt) : m_hangsAt(std::move(hangsAt)) {
        using Path = sdbus::ObjectPath;
        using Paths = std::vector<Path>;
        const Path item = "/org/freedesktop/secrets/collection/login/1";
        const Path prompt = "/org/freedesktop/secrets/prompt/1";
        const auto place = [this](const Path& path) -> sdbus::IObject& {
            return *m_objects.emplace_back(sdbus::createObject(*m_connection, path));
        };
        const std::string interface = "org.freedesktop.Secret.";

        sdbus::IObject& service = place("/org/freedesktop/secrets");
        service.registerMethod("SearchItems")
            .onInterface(interface + "Service")
            .implementedAs([this, item](sdbus::Result<Paths, Paths>&& call,
                                        const std::map<std::string, std::string>&) {
                if (isAnswering("SearchItems")) call.returnResults({}, {item});
            });
        service.registerMethod("Unlock")
            .onInterface(interface + "Service")
            .implementedAs([this, prompt](sdbus::Result<Paths, Path>&& call, const Paths&) {
                if (isAnswering("Unlock")) call.returnResults({}, prompt);
            });
        service.finishRegistration();

        sdbus::IObject& entry = place(item);
        entry.registerProperty("Locked").onInterface(interface + "Item").withGetter([] {
            return true;
        });
        entry.registerProperty("Attributes").onInterface(interface + "Item").withGetter([] {
            return std::map<std::string, std::string>{
                {"server", "example.com"}, {"protocol", "https"}, {"user", "alice"}};
        });
        entry.finishRegistration();

        sdbus::IObject& question = place(prompt);
        question.registerMethod("Prompt")
            .onInterface(interface + "Prompt")
            .implementedAs([this](sdbus::Result<>&& call, const std::string&) {
                if (isAnswering("Prompt")) call.returnResults();
            });
        question.registerMethod("Dismiss")
            .onInterface(interface + "Prompt")
            .implementedAs([this](sdbus::Result<>&& call) {
                if (isAnswering("Dismiss")) call.returnResults();
            });
        question.finishRegistration();
        m_connection->enterEventLoopAsync();
    }
    ~HangingService() { m_connection->leaveEventLoop(); }

    bool wasCalled(const std::string& method) {
        MutexLock lock(m_mutex);
        return m_calls.contains(method);
    }

private:
    bool isAnswering(const std::string& method) {
        MutexLock lock(m_mutex);
        m_calls.insert(method);
        return !m_calls.contains(m_hangsAt);
    }

    const std::string m_hangsAt;
    Mutex m_mutex;
    std::set<std::string> m_calls SW_GUARDED_BY(m_mutex);
    const std::unique_ptr<sdbus::IConnection> m_connection =
        sdbus::createSessionBusConnection("org.freedesktop.secrets");
    std::vector<std::unique_ptr<sdbus::IObject>> m_objects;
};

class CredentialsTest : public testing::Test {
protected:
    void SetUp() override {
#ifdef __SANITIZE_THREAD__
        GTEST_SKIP() << "The sanitizer does not see how the bus library synchronizes its threads.";
#endif
    }

    std::vector<ProtectionSpace> ask(Unlocking unlocking, std::chrono::milliseconds longest,
                                     const std::string& host = "example.com") {
        SecretServiceCredentials credentials(unlocking, m_address, longest);
        const auto start = std::chrono::steady_clock::now();
        auto spaces = credentials.protectionSpaces(host);
        m_took = std::chrono::steady_clock::now() - start;
        return spaces;
    }

    void expectToBeLeftInTime(Unlocking unlocking) {
        EXPECT_THAT(ask(unlocking, kShort), IsEmpty());
        EXPECT_GE(m_took, kShort / 2) << "it did not even wait";
        EXPECT_LT(m_took, kShort * 4);
    }

    // "METHOD user=password", each; every one has a space of its own.
    static std::multiset<std::string> descriptions(const std::vector<ProtectionSpace>& spaces) {
        std::multiset<std::string> texts;
        for (const ProtectionSpace& space : spaces) {
            EXPECT_EQ(space.host + " " + space.protocol, "example.com https");
            EXPECT_THAT(space.users, SizeIs(1));
            const Credential& first = space.users.front();
            texts.insert(std::to_string(static_cast<int>(space.authenticationMethod)) +
                         (space.isSentInClear() ? " in clear " : " hidden ") + first.user + "=" +
                         (first.password ? first.password->text() : "?"));
        }
        return texts;
    }

    LoggedLines m_log;
    TestBus m_bus;
    std::string m_address = m_bus.address();
    std::chrono::steady_clock::duration m_took{};
};

TEST_F(CredentialsTest, NoBusAndNoServiceAreAnEmptyKeyringAtOnce) {
    for (const std::string& address : {m_bus.address(), std::string("unix:path=/nowhere"),
                                       std::string("no address"), std::string()}) {
        m_address = address;
        for (const std::string& host : {std::string("example.com"), std::string(),
                                        std::string("a\0b", 3), std::string("\xFF")}) {
            EXPECT_THAT(ask(Unlocking::MayAsk, kLong, host), IsEmpty());
            EXPECT_LT(m_took, kLong / 2);
        }
    }
}

TEST_F(CredentialsTest, WhatHangsIsLeftInTimeWhereverItDoes) {
    const MuteBus mute;
    m_address = mute.address();
    expectToBeLeftInTime(Unlocking::Never);
    m_address = m_bus.address();
    for (const char* call : {"SearchItems", "Unlock", "Prompt"}) {
        HangingService service(call);
        expectToBeLeftInTime(Unlocking::MayAsk);
        EXPECT_TRUE(service.wasCalled(call)) << call;
    }
    // A question that nobody answers, and one that does not even go away again.
    for (const char* call : {"none", "Dismiss"}) {
        HangingService service(call);
        ask(Unlocking::MayAsk, kShort);
        EXPECT_LT(m_took, kShort * 4);
        waitUntil([&service] { return service.wasCalled("Dismiss"); });
    }
}

TEST_F(CredentialsTest, ALockedKeyringTellsNamesAndAsksNobodyUnlessItMay) {
    HangingService service("Unlock");
    EXPECT_THAT(descriptions(ask(Unlocking::Never, kLong)), ElementsAre("0 in clear alice=?"));
    EXPECT_FALSE(service.wasCalled("Unlock"));
}

// A real one, in a home of its own.
class KeyringTest : public CredentialsTest {
protected:
    void SetUp() override {
        CredentialsTest::SetUp();
        if (!pathOfProgram("gnome-keyring-daemon")) GTEST_SKIP() << "there is no keyring here";
        // The connection that the library's own calls share; its end would be the program's.
        m_shared = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        ASSERT_NE(m_shared, nullptr);
        g_dbus_connection_set_exit_on_close(m_shared, FALSE);
    }
    ~KeyringTest() override { g_clear_object(&m_shared); }

    // False until the keyring has started.
    static bool store(const char* host, const char* protocol, const char* method, const char* user,
                      const char* password) {
        return secret_password_store_sync(SECRET_SCHEMA_COMPAT_NETWORK, SECRET_COLLECTION_DEFAULT,
                                          user, password, nullptr, nullptr, "server", host,
                                          "protocol", protocol, "authtype", method, "user", user,
                                          nullptr) == TRUE;
    }

    TemporaryFolder m_home;
    Daemon m_keyring{{"env", "HOME=" + m_home.path(), "XDG_DATA_HOME=" + m_home.file("data"),
                      "XDG_CONFIG_HOME=" + m_home.file("config"),
                      "XDG_CACHE_HOME=" + m_home.file("cache"), "XDG_RUNTIME_DIR=" + m_home.path(),
                      "sh", "-c",
                      "printf 'master password' | exec gnome-keyring-daemon --foreground --unlock "
                      "--components=secrets 2>/dev/null"}};
    GDBusConnection* m_shared = nullptr;
};

TEST_F(KeyringTest, PasswordsForHttpsAreReadFromTheKeyring) {
    waitUntil(
        [] { return store("other.example.com", "https", "basic", "bob", "of another host"); });
    EXPECT_THAT(ask(Unlocking::Never, kLong), IsEmpty());
    EXPECT_TRUE(store("example.com", "http", "basic", "mallory", "over plain http"));
    EXPECT_TRUE(store("example.com", "https", "basic", "alice", "p\u00E4ss:word \"1\""));
    EXPECT_THAT(descriptions(ask(Unlocking::Never, kLong)),
                ElementsAre("1 in clear alice=p\u00E4ss:word \"1\""));
    EXPECT_TRUE(store("example.com", "https", "digest", "carol", ""));
    EXPECT_TRUE(store("example.com", "https", "basic", "alice", "changed"));
    EXPECT_THAT(descriptions(ask(Unlocking::MayAsk, kLong)),
                UnorderedElementsAre("1 in clear alice=changed", "3 hidden carol="));
}

TEST(SecretTest, BytesStayInOnePlaceWhenASecretMoves) {
    Secret secret("short");
    const char* const place = secret.text().data();
    Secret moved = std::move(secret);
    EXPECT_EQ(moved.text().data(), place);
    EXPECT_EQ(moved.text(), "short");
    Secret other("another");
    other = std::move(moved);
    EXPECT_EQ(other.text().data(), place);
}

}  // namespace
}  // namespace siftwell
