#define SECRET_API_SUBJECT_TO_CHANGE
#include <fcntl.h>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <libsecret/secret.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <map>
#include <thread>

#include "base/FileDescriptor.h"
#include "base/Log.h"
#include "base/Mutex.h"
#include "base/Processes.h"
#include "retrieval/SecretServiceCredentials.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Unlocking = SecretServiceCredentials::Unlocking;

constexpr std::chrono::milliseconds kShort(400);

// A program that runs beside the test.
class Daemon {
public:
    Daemon(std::vector<std::string> arguments, const std::map<std::string, std::string>& variables,
           const std::string& input) {
        std::vector<char*> words;
        for (std::string& each : arguments) words.push_back(each.data());
        words.push_back(nullptr);
        m_process = fork();
        if (m_process != 0) return;
        for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
        dup2(open(input.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execvp(words[0], words.data());
        _exit(127);
    }
    ~Daemon() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

private:
    pid_t m_process = 0;
};

bool waitFor(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return condition();
}

constexpr const char* kInterfaces = R"(<node>
<interface name="org.freedesktop.Secret.Service">
  <method name="OpenSession"><arg type="s" direction="in"/><arg type="v" direction="in"/>
    <arg type="v" direction="out"/><arg type="o" direction="out"/></method>
  <method name="SearchItems"><arg type="a{ss}" direction="in"/>
    <arg type="ao" direction="out"/><arg type="ao" direction="out"/></method>
  <method name="Unlock"><arg type="ao" direction="in"/>
    <arg type="ao" direction="out"/><arg type="o" direction="out"/></method>
</interface>
<interface name="org.freedesktop.Secret.Item">
  <property name="Locked" type="b" access="read"/>
  <property name="Attributes" type="a{ss}" access="read"/>
</interface>
<interface name="org.freedesktop.Secret.Prompt">
  <method name="Prompt"><arg type="s" direction="in"/></method>
  <method name="Dismiss"/>
</interface>
</node>)";

// A service with one locked entry, which no longer answers from a certain call on.
class HangingService {
public:
    HangingService(const std::string& busAddress, std::string hangsAt)
        : m_hangsAt(std::move(hangsAt)), m_context(g_main_context_new()) {
        g_main_context_push_thread_default(m_context);
        constexpr int kFlags = G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                               G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
        m_connection = g_dbus_connection_new_for_address_sync(
            busAddress.c_str(), static_cast<GDBusConnectionFlags>(kFlags), nullptr, nullptr,
            nullptr);
        m_interfaces = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
        place(0, "/org/freedesktop/secrets");
        place(1, "/org/freedesktop/secrets/collection/login/1");
        place(2, "/org/freedesktop/secrets/prompt/1");
        g_variant_unref(g_dbus_connection_call_sync(
            m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", "org.freedesktop.secrets", 0U), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
        g_main_context_pop_thread_default(m_context);
        m_thread = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) g_main_context_iteration(m_context, TRUE);
        });
    }
    ~HangingService() {
        m_thread.request_stop();
        g_main_context_wakeup(m_context);
        m_thread.join();
        g_dbus_connection_close_sync(m_connection, nullptr, nullptr);
        g_object_unref(m_connection);
        g_dbus_node_info_unref(m_interfaces);
        g_main_context_unref(m_context);
    }

    // Calls arrive on the service's own thread.
    bool wasCalled(const std::string& method) {
        MutexLock lock(m_mutex);
        return std::find(m_calls.begin(), m_calls.end(), method) != m_calls.end();
    }

private:
    void note(const char* method) {
        MutexLock lock(m_mutex);
        m_calls.emplace_back(method);
    }

    void place(int interface, const char* path) {
        g_dbus_connection_register_object(m_connection, path, m_interfaces->interfaces[interface],
                                          &m_functions, this, nullptr, nullptr);
    }

    static void answer(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                       const gchar* method, GVariant*, GDBusMethodInvocation* call, gpointer data) {
        auto* service = static_cast<HangingService*>(data);
        service->note(method);
        if (service->m_hangsAt == method || service->m_isHanging) {
            service->m_isHanging = true;
            g_object_unref(call);
        } else if (std::string_view(method) == "SearchItems") {
            const char* const none[] = {nullptr};
            const char* const item[] = {"/org/freedesktop/secrets/collection/login/1", nullptr};
            g_dbus_method_invocation_return_value(call, g_variant_new("(^ao^ao)", none, item));
        } else if (std::string_view(method) == "Unlock") {
            const char* const none[] = {nullptr};
            g_dbus_method_invocation_return_value(
                call, g_variant_new("(^aoo)", none, "/org/freedesktop/secrets/prompt/1"));
        } else {
            g_dbus_method_invocation_return_value(call, nullptr);
        }
    }

    static GVariant* property(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                              const gchar* name, GError**, gpointer) {
        if (std::string_view(name) == "Locked") return g_variant_new_boolean(TRUE);
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
        for (const auto& [key, value] :
             {std::pair{"server", "example.com"}, {"protocol", "https"}, {"user", "alice"}}) {
            g_variant_builder_add(&builder, "{ss}", key, value);
        }
        return g_variant_builder_end(&builder);
    }

    const std::string m_hangsAt;
    bool m_isHanging = false;
    const GDBusInterfaceVTable m_functions{
        &HangingService::answer, &HangingService::property, nullptr, {}};
    GMainContext* const m_context;
    GDBusConnection* m_connection = nullptr;
    GDBusNodeInfo* m_interfaces = nullptr;
    Mutex m_mutex;
    std::vector<std::string> m_calls SW_GUARDED_BY(m_mutex);
    std::jthread m_thread;
};

class CredentialsTest : public testing::Test {
protected:
    CredentialsTest() {
        setLogSink([](std::string_view) {});
    }
    ~CredentialsTest() override { setLogSink(nullptr); }

    void SetUp() override {
#ifdef __SANITIZE_THREAD__
        GTEST_SKIP() << "The sanitizer does not see how the bus library synchronizes its threads.";
#endif
    }

    // Binds a socket to the bus's place, or connects it.
    bool withSocket(int (*act)(int, const sockaddr*, socklen_t), FileDescriptor* keepIn = nullptr) {
        FileDescriptor file(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_folder.file("bus").copy(address.sun_path, sizeof address.sun_path - 1);
        const bool isDone =
            act(file.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        if (keepIn != nullptr) *keepIn = std::move(file);
        return isDone;
    }

    // A bus that starts no service by itself.
    bool startBus() {
        const std::string rules = m_folder.write(
            "bus.conf",
            "<busconfig><type>session</type><listen>" + m_bus +
                "</listen><policy context='default'><allow send_destination='*' eavesdrop='true'/>"
                "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>");
        m_busDaemon.emplace(
            std::vector<std::string>{"dbus-daemon", "--nofork", "--config-file=" + rules},
            m_variables, "/dev/null");
        return waitFor([this] { return withSocket(&connect); });
    }

    std::vector<ProtectionSpace> ask(Unlocking unlocking, std::chrono::milliseconds longest) {
        SecretServiceCredentials credentials(unlocking, m_bus, longest);
        const auto start = std::chrono::steady_clock::now();
        auto spaces = credentials.protectionSpaces("example.com");
        m_took = std::chrono::steady_clock::now() - start;
        return spaces;
    }

    void expectToBeLeftInTime(Unlocking unlocking) {
        EXPECT_THAT(ask(unlocking, kShort), IsEmpty());
        EXPECT_GE(m_took, kShort / 2) << "it did not even wait";
        EXPECT_LT(m_took, kShort * 4);
    }

    TemporaryFolder m_folder;
    const std::string m_bus = "unix:path=" + m_folder.file("bus");
    std::chrono::steady_clock::duration m_took{};
    const std::map<std::string, std::string> m_variables = {
        {"HOME", m_folder.path()},
        {"XDG_DATA_HOME", m_folder.file("data")},
        {"XDG_CONFIG_HOME", m_folder.file("config")},
        {"XDG_CACHE_HOME", m_folder.file("cache")},
        {"XDG_RUNTIME_DIR", m_folder.path()},
        {"DBUS_SESSION_BUS_ADDRESS", m_bus}};
    std::optional<Daemon> m_busDaemon;
};

TEST_F(CredentialsTest, NoBusAndNoServiceAreAnEmptyKeyringAtOnce) {
    EXPECT_THAT(ask(Unlocking::MayAsk, std::chrono::minutes(1)), IsEmpty());
    EXPECT_THAT(SecretServiceCredentials(Unlocking::Never, "").protectionSpaces("a"), IsEmpty());
    EXPECT_THAT(SecretServiceCredentials(Unlocking::Never, "no address").protectionSpaces("a"),
                IsEmpty());
    if (!startBus()) GTEST_SKIP() << "no bus";
    EXPECT_THAT(ask(Unlocking::MayAsk, std::chrono::minutes(1)), IsEmpty());
    for (const std::string& host : {std::string(), std::string("a\0b", 3), std::string("\xFF")}) {
        EXPECT_THAT(SecretServiceCredentials(Unlocking::Never, m_bus).protectionSpaces(host),
                    IsEmpty());
    }
    EXPECT_LT(m_took, std::chrono::seconds(30));
}

TEST_F(CredentialsTest, ABusThatAcceptsAndNeverAnswersIsLeftInTime) {
    FileDescriptor listener;
    ASSERT_TRUE(withSocket(&bind, &listener));
    ASSERT_EQ(listen(listener.get(), 10), 0);
    expectToBeLeftInTime(Unlocking::Never);
}

TEST_F(CredentialsTest, AServiceThatHangsIsLeftInTimeWhereverItDoes) {
    if (!startBus()) GTEST_SKIP() << "no bus";
    for (const char* call : {"SearchItems", "Unlock", "Prompt"}) {
        HangingService service(m_bus, call);
        expectToBeLeftInTime(Unlocking::MayAsk);
        EXPECT_TRUE(service.wasCalled(call)) << call;
    }
    // A question that nobody answers, and one that does not even go away again.
    for (const char* call : {"none", "Dismiss"}) {
        HangingService service(m_bus, call);
        ask(Unlocking::MayAsk, kShort);
        EXPECT_LT(m_took, kShort * 4);
        EXPECT_TRUE(waitFor([&service] { return service.wasCalled("Dismiss"); })) << call;
    }
}

TEST_F(CredentialsTest, ALockedKeyringTellsNamesAndAsksNobodyUnlessItMay) {
    if (!startBus()) GTEST_SKIP() << "no bus";
    HangingService service(m_bus, "Unlock");
    const auto spaces = ask(Unlocking::Never, std::chrono::minutes(1));
    ASSERT_THAT(spaces, SizeIs(1));
    EXPECT_EQ(spaces[0].host, "example.com");
    EXPECT_EQ(spaces[0].protocol, "https");
    ASSERT_THAT(spaces[0].users, SizeIs(1));
    EXPECT_EQ(spaces[0].users[0].user, "alice");
    EXPECT_EQ(spaces[0].users[0].password, std::nullopt);
    EXPECT_FALSE(service.wasCalled("Unlock"));
}

// ---- A real keyring

class KeyringTest : public CredentialsTest {
protected:
    // False where it cannot be started.
    bool startKeyring() {
        if (!pathOfProgram("gnome-keyring-daemon") || !startBus()) return false;
        m_keyring.emplace(std::vector<std::string>{"gnome-keyring-daemon", "--foreground",
                                                   "--unlock", "--components=secrets"},
                          m_variables, m_folder.write("master", "master password"));
        setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.c_str(), 1);
        m_connection = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (m_connection == nullptr) return false;
        g_dbus_connection_set_exit_on_close(m_connection, FALSE);
        if (!waitFor([this] { return isServed(); })) return false;
        m_service = secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE,
                                             nullptr, nullptr);
        return m_service != nullptr;
    }

    ~KeyringTest() override {
        if (m_service != nullptr) g_object_unref(m_service);
        if (m_connection != nullptr) g_object_unref(m_connection);
    }

    bool isServed() {
        GVariant* const owner = g_dbus_connection_call_sync(
            m_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetNameOwner", g_variant_new("(s)", "org.freedesktop.secrets"), nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        if (owner == nullptr) return false;
        g_variant_unref(owner);
        return true;
    }

    void store(const char* host, const char* protocol, const char* method, const char* user,
               const char* password) {
        GHashTable* const attributes =
            secret_attributes_build(SECRET_SCHEMA_COMPAT_NETWORK, "server", host, "protocol",
                                    protocol, "authtype", method, "user", user, nullptr);
        SecretValue* const value = secret_value_new(password, -1, "text/plain");
        GError* error = nullptr;
        EXPECT_TRUE(secret_service_store_sync(m_service, SECRET_SCHEMA_COMPAT_NETWORK, attributes,
                                              SECRET_COLLECTION_DEFAULT, user, value, nullptr,
                                              &error))
            << error->message;
        secret_value_unref(value);
        g_hash_table_unref(attributes);
    }

    static std::string description(const std::vector<ProtectionSpace>& spaces) {
        std::string text;
        for (const ProtectionSpace& space : spaces) {
            text += space.protocol + "://" + space.host + " " +
                    std::to_string(static_cast<int>(space.authenticationMethod)) + ":";
            for (const Credential& each : space.users) {
                text += " " + each.user + "=" + (each.password ? each.password->text() : "?");
            }
            text += "\n";
        }
        return text;
    }

    std::optional<Daemon> m_keyring;
    GDBusConnection* m_connection = nullptr;
    SecretService* m_service = nullptr;
};

TEST_F(KeyringTest, PasswordsForHttpsAreReadFromTheKeyring) {
    if (!startKeyring()) GTEST_SKIP() << "no keyring can be started here";
    EXPECT_THAT(ask(Unlocking::Never, std::chrono::seconds(30)), IsEmpty());
    store("example.com", "https", "basic", "alice", "p\u00E4ss:word \"1\"");
    store("example.com", "http", "basic", "mallory", "over plain http");
    store("other.example.com", "https", "basic", "bob", "of another host");
    EXPECT_EQ(description(ask(Unlocking::Never, std::chrono::seconds(30))),
              "https://example.com 1: alice=p\u00E4ss:word \"1\"\n");
    store("example.com", "https", "digest", "carol", "");
    store("example.com", "https", "basic", "alice", "changed");
    const auto spaces = ask(Unlocking::MayAsk, std::chrono::seconds(30));
    EXPECT_THAT(description(spaces), testing::AnyOf("https://example.com 1: alice=changed\n"
                                                    "https://example.com 3: carol=\n",
                                                    "https://example.com 3: carol=\n"
                                                    "https://example.com 1: alice=changed\n"));
    for (const ProtectionSpace& space : spaces) {
        EXPECT_EQ(space.isSentInClear(), space.users[0].user == "alice");
    }
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
