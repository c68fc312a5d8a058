#pragma once

#include <QObject>
#include <QProcess>

namespace siftwell {

class X11HotKeyGrabTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theKeyArrivesWhateverLocksAreOnAndNobodyElseGetsIt();
    void cleanupTestCase();

private:
    void startGrabbing(QProcess& program);
    void pressKey(const char* key);

    QProcess m_server;
    QString m_display;
};

// Grabs the usual key on the display of the environment; writes what came of it, and a line for
// every time that the key is pressed.
int grabAndTell(int argc, char** argv);

}  // namespace siftwell
