#pragma once

#include <QObject>
#include <QProcess>
#include <memory>

namespace siftwell {

class PortalHotKeyGrabTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theKeyThatTheDesktopBindsIsTold();
    void aRefusalIsSaidAndABusWithoutPortalIsSeen();

private:
    QProcess m_bus;
    QString m_address;
};

}  // namespace siftwell
