#include "ui/desktop/X11HotKeyGrabTest.h"

#include <QApplication>
#include <QStandardPaths>
#include <QtTest>
#include <cstdio>

#include "ui/desktop/X11HotKeyGrab.h"

namespace siftwell {

namespace {

void tell(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

QByteArray lineOf(QProcess& program) {
    constexpr int kPatience = 20'000;
    while (!program.canReadLine()) {
        if (!program.waitForReadyRead(kPatience)) return "nothing";
    }
    return program.readLine().trimmed();
}

}  // namespace

int grabAndTell(int argc, char** argv) {
    QApplication application(argc, argv);
    X11HotKeyGrab grab(
        {.pressed = [] { tell("pressed"); },
         .grabbed =
             [](const Status& status) { tell(status.isOk() ? "grabbed" : status.message()); }});
    grab.grab({4, 4352});
    return QApplication::exec();
}

void X11HotKeyGrabTest::initTestCase() {
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty()) {
        QSKIP("There is no xdotool.");
    }
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("320x240x24"), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp")});
    if (!m_server.waitForStarted()) QSKIP("There is no Xvfb.");
    m_display = QLatin1Char(':') + QString::fromLatin1(lineOf(m_server));
    QVERIFY(m_display != QLatin1String(":nothing"));
}

void X11HotKeyGrabTest::startGrabbing(QProcess& program) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SIFTWELL_TEST_GRAB"), QStringLiteral("1"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {});
}

void X11HotKeyGrabTest::pressKey(const char* key) {
    QProcess tool;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    tool.setProcessEnvironment(environment);
    tool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), QString::fromLatin1(key)});
    QVERIFY(tool.waitForFinished());
}

void X11HotKeyGrabTest::theKeyArrivesWhateverLocksAreOnAndNobodyElseGetsIt() {
    QProcess program;
    startGrabbing(program);
    QCOMPARE(lineOf(program), "grabbed");
    pressKey("super+ctrl+h");
    QCOMPARE(lineOf(program), "pressed");
    for (const char* lock : {"Num_Lock", "Caps_Lock"}) {
        pressKey(lock);
        pressKey("super+ctrl+h");
        QCOMPARE(lineOf(program), "pressed");
    }
    QProcess other;
    startGrabbing(other);
    QCOMPARE(lineOf(other), "Another program uses the hot key Super+Ctrl+H already.");
    for (QProcess* each : {&program, &other}) {
        each->kill();
        QVERIFY(each->waitForFinished());
    }
    QVERIFY(program.readAll().isEmpty());  // each press was told once
}

void X11HotKeyGrabTest::cleanupTestCase() {
    m_server.terminate();
    m_server.waitForFinished();
}

}  // namespace siftwell
