#include "retrieval/SecretServiceCredentials.h"

#define SECRET_API_SUBJECT_TO_CHANGE  // the part of the library that finds more than one entry
#include <gio/gio.h>
#include <libsecret/secret.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include "base/Log.h"
#include "text/Ascii.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(gchar* text) const { g_free(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

// An entry as the service gives it.
struct Entry {
    AuthenticationMethod authenticationMethod;
    Credential credential;
    guint64 modified;
};

AuthenticationMethod methodNamed(const std::string& name) {
    if (name.empty() || name == "default") return AuthenticationMethod::Default;
    if (name == "basic") return AuthenticationMethod::HTTPBasic;
    if (name == "form" || name == "html-form") return AuthenticationMethod::HTMLForm;
    return AuthenticationMethod::Other;
}

std::string attribute(GHashTable* attributes, const char* name) {
    const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, name));
    return value == nullptr ? "" : value;
}

// What the service told of an item; null when it did not, or in another shape.
Owned<GVariant> property(SecretItem* item, const char* name, const char* type) {
    Owned<GVariant> value(g_dbus_proxy_get_cached_property(G_DBUS_PROXY(item), name));
    const bool isOfType =
        value != nullptr && g_variant_is_of_type(value.get(), G_VARIANT_TYPE(type));
    return isOfType ? std::move(value) : nullptr;
}

guint64 modificationOf(SecretItem* item) {
    const auto value = property(item, "Modified", "t");
    return value == nullptr ? 0 : g_variant_get_uint64(value.get());
}

std::optional<Secret> passwordOf(SecretItem* item) {
    const Owned<SecretValue> value(secret_item_get_secret(item));
    if (value == nullptr) return std::nullopt;
    gsize length = 0;
    const gchar* const bytes = secret_value_get(value.get(), &length);
    return Secret({bytes, length});
}

std::vector<ProtectionSpace> spacesOf(std::vector<Entry> entries, const std::string& host) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.modified < b.modified; });
    std::vector<ProtectionSpace> spaces;
    for (Entry& entry : entries) {
        auto space = std::find_if(spaces.begin(), spaces.end(), [&](const ProtectionSpace& each) {
            return each.authenticationMethod == entry.authenticationMethod;
        });
        if (space == spaces.end()) {
            space = spaces.insert(space, {host, "https", entry.authenticationMethod, {}});
        }
        std::erase_if(space->users, [&](const Credential& credential) {
            return credential.user == entry.credential.user;
        });
        space->users.push_back(std::move(entry.credential));
    }
    return spaces;
}

// ---- The library's service on a connection of ours. Its own way is to the connection that the
// whole program shares, whose end would be the program's.

GObject* constructService(GType type, guint count, GObjectConstructParam* properties) {
    auto* const parent = G_OBJECT_CLASS(g_type_class_peek(SECRET_TYPE_SERVICE));
    GObject* const service = parent->constructor(type, count, properties);
    g_object_set(service, "g-bus-type", G_BUS_TYPE_NONE, nullptr);
    return service;
}

GType serviceType() {
    static const GType type = g_type_register_static_simple(
        SECRET_TYPE_SERVICE, "SiftwellSecretService", sizeof(SecretServiceClass),
        [](gpointer service, gpointer) {
            G_OBJECT_CLASS(service)->constructor = &constructService;
        },
        sizeof(SecretService), nullptr, G_TYPE_FLAG_FINAL);
    return type;
}

// One question to the service. All of it is asynchronous in a context of its own, since the
// library's blocking calls wait for a prompt without end. Each step that is under way keeps the
// query, so that one that never ends finds it when it does.
class Query : public std::enable_shared_from_this<Query> {
public:
    Query(std::string host, bool mayUnlock, std::chrono::milliseconds longest)
        : m_host(std::move(host)),
          m_mayUnlock(mayUnlock),
          m_longest(longest),
          m_context(g_main_context_new()),
          m_cancellable(g_cancellable_new()) {}

    std::vector<Entry> ask(const std::string& busAddress) {
        g_main_context_push_thread_default(m_context.get());
        constexpr int kFlags = G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                               G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
        g_dbus_connection_new_for_address(busAddress.c_str(),
                                          static_cast<GDBusConnectionFlags>(kFlags), nullptr,
                                          m_cancellable.get(), &Query::onConnection, keep());
        wait();
        m_service.reset();  // what it still has to let go of is done in the context
        disconnect();
        runWhatIsReady();
        g_main_context_pop_thread_default(m_context.get());
        return std::move(m_entries);
    }

private:
    using Time = std::chrono::steady_clock::time_point;

    // What has not ended by then is cancelled, after that its connection is closed, and what does
    // not end even so is left to itself.
    void wait() {
        const Time start = std::chrono::steady_clock::now();
        if (waitUntil(start + m_longest * 18 / 20)) return;
        writeLog("The keyring does not answer; asking it for a password is given up.");
        g_cancellable_cancel(m_cancellable.get());
        if (waitUntil(start + m_longest * 19 / 20)) return;
        disconnect();
        waitUntil(start + m_longest);
    }

    bool waitUntil(Time end) {
        while (!m_isDone) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                end - std::chrono::steady_clock::now());
            if (left.count() <= 0) return false;
            GSource* const alarm = g_timeout_source_new(static_cast<guint>(left.count()));
            g_source_set_callback(
                alarm, [](gpointer) { return G_SOURCE_REMOVE; }, nullptr, nullptr);
            g_source_attach(alarm, m_context.get());
            g_main_context_iteration(m_context.get(), TRUE);
            g_source_destroy(alarm);
            g_source_unref(alarm);
        }
        return true;
    }

    void disconnect() {
        if (m_connection == nullptr || g_dbus_connection_is_closed(m_connection.get())) return;
        g_dbus_connection_close(m_connection.get(), nullptr, nullptr, nullptr);
    }

    // What ends of its own accord lets go of what it holds.
    void runWhatIsReady() {
        for (int i = 0; i < 100 && g_main_context_iteration(m_context.get(), FALSE) != FALSE;) ++i;
    }

    gpointer keep() { return new std::shared_ptr<Query>(shared_from_this()); }
    static std::shared_ptr<Query> kept(gpointer data) {
        const std::unique_ptr<std::shared_ptr<Query>> query(
            static_cast<std::shared_ptr<Query>*>(data));
        return *query;
    }

    static void onConnection(GObject*, GAsyncResult* result, gpointer data) {
        const auto query = kept(data);
        GError* error = nullptr;
        query->m_connection.reset(g_dbus_connection_new_for_address_finish(result, &error));
        if (query->m_connection == nullptr) return query->fail(error);
        g_async_initable_new_async(serviceType(), G_PRIORITY_DEFAULT, query->m_cancellable.get(),
                                   &Query::onService, query->keep(), "g-connection",
                                   query->m_connection.get(), nullptr);
    }

    static void onService(GObject* source, GAsyncResult* result, gpointer data) {
        const auto query = kept(data);
        GError* error = nullptr;
        GObject* const service =
            g_async_initable_new_finish(G_ASYNC_INITABLE(source), result, &error);
        if (service == nullptr) return query->fail(error);
        query->m_service.reset(SECRET_SERVICE(service));
        query->search();
    }

    void search() {
        int flags = SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS;
        if (m_mayUnlock) flags |= SECRET_SEARCH_UNLOCK;
        const Owned<GHashTable> attributes(secret_attributes_build(
            SECRET_SCHEMA_COMPAT_NETWORK, "server", m_host.c_str(), "protocol", "https", nullptr));
        secret_service_search(m_service.get(), SECRET_SCHEMA_COMPAT_NETWORK, attributes.get(),
                              static_cast<SecretSearchFlags>(flags), m_cancellable.get(),
                              &Query::onItems, keep());
    }

    static void onItems(GObject* source, GAsyncResult* result, gpointer data) {
        const auto query = kept(data);
        GError* error = nullptr;
        GList* const items = secret_service_search_finish(SECRET_SERVICE(source), result, &error);
        if (error != nullptr) return query->fail(error);
        for (GList* item = items; item != nullptr; item = item->next) {
            query->add(SECRET_ITEM(item->data));
        }
        g_list_free_full(items, g_object_unref);
        query->m_isDone = true;
    }

    void add(SecretItem* item) {
        if (property(item, "Attributes", "a{ss}") == nullptr) return;
        const Owned<GHashTable> attributes(secret_item_get_attributes(item));
        const bool isAsked = attribute(attributes.get(), "server") == m_host &&
                             attribute(attributes.get(), "protocol") == "https";
        std::string user = attribute(attributes.get(), "user");
        if (!isAsked || user.empty()) return;
        m_entries.push_back({.authenticationMethod = methodNamed(
                                 lowerCasedAscii(attribute(attributes.get(), "authtype"))),
                             .credential = {.user = std::move(user), .password = passwordOf(item)},
                             .modified = modificationOf(item)});
    }

    void fail(GError* taken) {
        const Owned<GError> error(taken);
        m_isDone = true;
        const bool isNobodyThere =
            m_connection == nullptr ||
            g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) != FALSE ||
            g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) != FALSE;
        const bool isOurs = g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
        if (isNobodyThere || isOurs) return;
        writeLog(std::string("The keyring could not be asked for a password: ") + error->message);
    }

    const std::string m_host;
    const bool m_mayUnlock;
    const std::chrono::milliseconds m_longest;
    const Owned<GMainContext> m_context;
    const Owned<GCancellable> m_cancellable;
    Owned<GDBusConnection> m_connection;
    Owned<SecretService> m_service;
    std::vector<Entry> m_entries;
    bool m_isDone = false;
};

}  // namespace

SecretServiceCredentials::SecretServiceCredentials(Unlocking unlocking, std::string busAddress,
                                                   std::chrono::milliseconds longest)
    : m_unlocking(unlocking), m_busAddress(std::move(busAddress)), m_longest(longest) {}

std::vector<ProtectionSpace> SecretServiceCredentials::protectionSpaces(const std::string& host) {
    const bool canBeAsked =
        !host.empty() && host.find('\0') == std::string::npos && isValidUtf8(host);
    if (m_busAddress.empty() || !canBeAsked) return {};
    const auto query = std::make_shared<Query>(host, m_unlocking == Unlocking::MayAsk, m_longest);
    return spacesOf(query->ask(m_busAddress), host);
}

std::string SecretServiceCredentials::sessionBusAddress() {
    const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0') {
        return std::string_view(address).starts_with("autolaunch:") ? "" : address;
    }
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder != '/') return "";
    const std::string socket = std::string(folder) + "/bus";
    std::error_code error;
    if (!std::filesystem::is_socket(socket, error)) return "";
    const Owned<gchar> escaped(g_dbus_address_escape_value(socket.c_str()));
    return std::string("unix:path=") + escaped.get();
}

}  // namespace siftwell
