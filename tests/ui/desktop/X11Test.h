#pragma once

#include <QObject>
#include <QProcess>

namespace siftwell {

class X11Test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theKeyArrivesWhateverLocksAreOnAndNobodyElseGetsIt();
    void whoseWindowIsInFrontIsTold();
    void cleanupTestCase();

private:
    void start(QProcess& program, const char* role);
    void pressKey(const char* key);

    QProcess m_server;
    QString m_display;
};

// What the test program does on the display of the environment, when SIFTWELL_TEST_ROLE says so.
// "grab" grabs the usual key and writes what came of it, and a line for every time that the key is
// pressed. "watch" is window manager and program at once: for each line that it reads, the class of
// a window or "self", it puts such a window in front and writes what the program heard.
int playRole(const QString& role, int argc, char** argv);

}  // namespace siftwell
