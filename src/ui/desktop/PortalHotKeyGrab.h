// PortalHotKeyGrab: a key that the desktop gives through its portal (GlobalShortcuts), which is the
// way under Wayland. The desktop may ask the user, and may give another key than was wished for.
//
// Threads: main; nothing here waits for the bus.
// Errors: what the desktop refuses, and a bus or portal that is not there.
#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include "ui/desktop/HotKeyGrab.h"

namespace siftwell {

class PortalHotKeyGrab : public QObject, public HotKeyGrab {
    Q_OBJECT

public:
    PortalHotKeyGrab(const QDBusConnection& bus, Handlers handlers);
    ~PortalHotKeyGrab() override;

    void grab(const HotKey& key) override;
    void release() override;

private Q_SLOTS:
    void sessionAnswered(uint response, const QVariantMap& results, const QDBusMessage& answer);
    void shortcutsAnswered(uint response, const QVariantMap& results);
    void activated(const QDBusMessage& signal);

private:
    // A token for the next request, whose answer goes to the slot.
    QString expectAnswer(const char* slot);
    void call(const QString& method, const QVariantList& arguments);
    void createSession();
    void closeSession(const QString& session);
    void bindShortcut();
    void fail(const QDBusError& error);
    void fail(const std::string& reason);

    QDBusConnection m_bus;
    const Handlers m_handlers;
    HotKey m_key;
    QString m_session;
    QString m_request;  // whose answer is waited for
    int m_requests = 0;
};

}  // namespace siftwell
