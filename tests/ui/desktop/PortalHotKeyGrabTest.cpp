#include "ui/desktop/PortalHotKeyGrabTest.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QtTest>
#include <optional>

#include "ui/desktop/PortalHotKeyGrab.h"

namespace siftwell {

namespace {

const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kShortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// A desktop's portal as far as the program needs it. It answers as the real one: with a request
// whose response comes later.
class Portal : public QDBusVirtualObject {
public:
    explicit Portal(QDBusConnection bus) : m_bus(std::move(bus)) {
        m_bus.registerVirtualObject(kPath, this, QDBusConnection::SubPath);
        m_bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        calls << message.member();
        if (message.member() == QLatin1String("CreateSession")) {
            const auto options = qdbus_cast<QVariantMap>(message.arguments().at(0));
            session = kPath + QStringLiteral("/session/") +
                      options[QStringLiteral("session_handle_token")].toString();
            answer(message, options, {{QStringLiteral("session_handle"), session}});
        } else if (message.member() == QLatin1String("BindShortcuts")) {
            readTrigger(message.arguments().at(1).value<QDBusArgument>());
            answer(message, qdbus_cast<QVariantMap>(message.arguments().at(3)), {});
        } else {
            m_bus.send(message.createReply());
        }
        return true;
    }

    void press(const QString& inSession) {
        QDBusMessage signal =
            QDBusMessage::createSignal(kPath, kShortcuts, QStringLiteral("Activated"));
        signal << QVariant::fromValue(QDBusObjectPath(inSession)) << QStringLiteral("show-search")
               << qulonglong{1} << QVariantMap();
        m_bus.send(signal);
    }

    QStringList calls;
    QString session;
    QString trigger;
    uint response = 0;

private:
    void answer(const QDBusMessage& message, const QVariantMap& options,
                const QVariantMap& results) {
        const QString sender = message.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString request =
            QStringLiteral("%1/request/%2/%3")
                .arg(kPath, sender, options[QStringLiteral("handle_token")].toString());
        m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        QDBusMessage signal = QDBusMessage::createSignal(
            request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << response << results;
        m_bus.send(signal);
    }

    void readTrigger(const QDBusArgument& shortcuts) {
        shortcuts.beginArray();
        while (!shortcuts.atEnd()) {
            QString name;
            QVariantMap properties;
            shortcuts.beginStructure();
            shortcuts >> name >> properties;
            shortcuts.endStructure();
            trigger = properties[QStringLiteral("preferred_trigger")].toString();
        }
        shortcuts.endArray();
    }

    QDBusConnection m_bus;
};

// A grab with what it told.
struct Grab {
    explicit Grab(const QDBusConnection& bus)
        : grab(bus, {.pressed = [this] { ++pressed; },
                     .grabbed = [this](const Status& came) { status = came; }}) {}

    int pressed = 0;
    std::optional<Status> status;
    PortalHotKeyGrab grab;
};

}  // namespace

void PortalHotKeyGrabTest::initTestCase() {
    m_bus.start(
        QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"),
         QStringLiteral("--print-address=1"), QStringLiteral("--address=unix:tmpdir=/tmp")});
    if (!m_bus.waitForReadyRead(5000)) QSKIP("There is no dbus-daemon.");
    m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
}

void PortalHotKeyGrabTest::theKeyThatTheDesktopBindsIsTold() {
    Portal portal(QDBusConnection::connectToBus(m_address, QStringLiteral("portal")));
    Grab grab(QDBusConnection::connectToBus(m_address, QStringLiteral("program")));
    grab.grab.grab({4, 4352});
    QTRY_VERIFY(grab.status.has_value());
    QVERIFY2(grab.status->isOk(), grab.status->message().c_str());
    QCOMPARE(portal.trigger, QStringLiteral("CTRL+LOGO+h"));
    portal.press(kPath + QStringLiteral("/session/other"));
    portal.press(portal.session);
    QTRY_COMPARE(grab.pressed, 1);

    const QString first = portal.session;
    grab.grab.grab({5, 4352});  // in a session of its own
    QTRY_COMPARE(portal.trigger, QStringLiteral("CTRL+LOGO+g"));
    QVERIFY(portal.calls.contains(QStringLiteral("Close")));
    portal.press(first);
    portal.press(portal.session);
    QTRY_COMPARE(grab.pressed, 2);
    QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
}

void PortalHotKeyGrabTest::aRefusalIsSaidAndABusWithoutPortalIsSeen() {
    const auto bus = QDBusConnection::connectToBus(m_address, QStringLiteral("program 2"));
    {
        Portal portal(QDBusConnection::connectToBus(m_address, QStringLiteral("portal 2")));
        portal.response = 1;
        Grab grab(bus);
        grab.grab.grab({4, 4352});
        QTRY_VERIFY(grab.status.has_value());
        QVERIFY(grab.status->message().ends_with("It was refused."));
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("portal 2"));
    Grab grab(bus);
    grab.grab.grab({4, 4352});
    QTRY_VERIFY(grab.status.has_value());
    QCOMPARE(grab.status->message(), noHotKeysHere().message());
    m_bus.kill();
    m_bus.waitForFinished();
}

}  // namespace siftwell
