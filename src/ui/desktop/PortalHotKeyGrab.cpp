#include "ui/desktop/PortalHotKeyGrab.h"

#include <QDBusArgument>
#include <QDBusInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

#include "ui/Text.h"

namespace siftwell {

// As the portal takes them: a name with what there is to say of it.
struct PortalShortcut {
    QString name;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.name << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.name >> shortcut.properties;
    argument.endStructure();
    return argument;
}

}  // namespace siftwell

Q_DECLARE_METATYPE(siftwell::PortalShortcut)

namespace siftwell {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kShortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kSession = QStringLiteral("org.freedesktop.portal.Session");
const QString kName = QStringLiteral("show-search");

// Under which the bus knows the program, as a part of a path.
QString senderIn(const QDBusConnection& bus) {
    return bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
}

}  // namespace

PortalHotKeyGrab::PortalHotKeyGrab(const QDBusConnection& bus, Handlers handlers)
    : m_bus(bus), m_handlers(std::move(handlers)) {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    m_bus.connect(kService, kPath, kShortcuts, QStringLiteral("Activated"), this,
                  SLOT(activated(QDBusMessage)));
}

PortalHotKeyGrab::~PortalHotKeyGrab() { PortalHotKeyGrab::release(); }

void PortalHotKeyGrab::grab(const HotKey& key) {
    release();
    m_key = key;
    createSession();
}

void PortalHotKeyGrab::release() {
    m_key = {};
    m_request.clear();
    closeSession(std::exchange(m_session, {}));
}

void PortalHotKeyGrab::closeSession(const QString& session) {
    if (!session.startsWith(kPath)) return;
    m_bus.send(
        QDBusMessage::createMethodCall(kService, session, kSession, QStringLiteral("Close")));
}

QString PortalHotKeyGrab::expectAnswer(const char* slot) {
    QString token = QStringLiteral("siftwell_%1").arg(++m_requests);
    m_request = QStringLiteral("%1/request/%2/%3").arg(kPath, senderIn(m_bus), token);
    m_bus.connect(kService, m_request, kRequest, QStringLiteral("Response"), this, slot);
    return token;
}

void PortalHotKeyGrab::call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kShortcuts, method);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, request = m_request](auto* ended) {
                const QDBusPendingReply<QDBusObjectPath> reply = *ended;
                if (reply.isError() && request == m_request) fail(reply.error());
                ended->deleteLater();
            });
}

void PortalHotKeyGrab::createSession() {
    const QString token = expectAnswer(SLOT(sessionAnswered(uint, QVariantMap, QDBusMessage)));
    call(QStringLiteral("CreateSession"),
         {QVariantMap{{QStringLiteral("handle_token"), token},
                      {QStringLiteral("session_handle_token"), token}}});
}

void PortalHotKeyGrab::sessionAnswered(uint response, const QVariantMap& results,
                                       const QDBusMessage& answer) {
    const QString session = results.value(QStringLiteral("session_handle")).toString();
    if (answer.path() != m_request) return closeSession(session);  // given up meanwhile
    if (response != 0) return fail(_("It was refused."));
    if (!session.startsWith(kPath)) return fail(_("The answer of the desktop makes no sense."));
    m_session = session;
    bindShortcut();
}

void PortalHotKeyGrab::bindShortcut() {
    const QString token = expectAnswer(SLOT(shortcutsAnswered(uint, QVariantMap)));
    const QList<PortalShortcut> shortcuts{
        {kName,
         {{QStringLiteral("description"), q_("Search the pages you have seen")},
          {QStringLiteral("preferred_trigger"), portalTriggerOf(m_key)}}}};
    call(QStringLiteral("BindShortcuts"),
         {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts),
          QString(), QVariantMap{{QStringLiteral("handle_token"), token}}});
}

void PortalHotKeyGrab::shortcutsAnswered(uint response, const QVariantMap&) {
    if (m_key.isNone()) return;
    m_request.clear();
    if (response != 0) return fail(_("It was refused."));
    m_handlers.grabbed({});
}

// A desktop without a portal, or with one that knows no keys, has refused nothing.
void PortalHotKeyGrab::fail(const QDBusError& error) {
    switch (error.type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::UnknownObject:
        case QDBusError::UnknownInterface:
        case QDBusError::UnknownMethod:
            release();
            return m_handlers.grabbed(noHotKeysHere());
        default:
            return fail(error.message().toStdString());
    }
}

void PortalHotKeyGrab::fail(const std::string& reason) {
    release();
    m_handlers.grabbed(
        {StatusCode::Denied, filledIn(_("The desktop gives no hot key to Siftwell: %@"), reason)});
}

void PortalHotKeyGrab::activated(const QDBusMessage& signal) {
    const QVariantList arguments = signal.arguments();
    if (arguments.size() < 2 || m_session.isEmpty()) return;
    const bool isOfThisSession =
        arguments[0].value<QDBusObjectPath>().path() == m_session && arguments[1] == kName;
    if (isOfThisSession) m_handlers.pressed();
}

}  // namespace siftwell
