#include "ui/desktop/X11Test.h"

#include <QApplication>
#include <QStandardPaths>
#include <QtTest>
#include <array>
#include <cstdio>
#include <iostream>

#include "ui/desktop/FrontProgram.h"
#include "ui/desktop/X11HotKeyGrab.h"
#include "ui/desktop/X11Server.h"

namespace siftwell {

namespace {

constexpr int kPatience = 20'000;

void tell(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

QByteArray lineOf(QProcess& program) {
    while (!program.canReadLine()) {
        if (!program.waitForReadyRead(kPatience)) return "nothing";
    }
    return program.readLine().trimmed();
}

}  // namespace

namespace {

int grabAndTell() {
    X11HotKeyGrab grab(
        {.pressed = [] { tell("pressed"); },
         .grabbed =
             [](const Status& status) { tell(status.isOk() ? "grabbed" : status.message()); }});
    grab.grab({4, 4352});
    return QApplication::exec();
}

// The class is the second name.
xcb_window_t windowOf(xcb_connection_t& server, const std::string& windowClass) {
    const xcb_window_t window = xcb_generate_id(&server);
    xcb_create_window(&server, XCB_COPY_FROM_PARENT, window, rootWindow(server), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const std::string names = std::string("instance") + '\0' + windowClass + '\0';
    xcb_change_property(&server, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                        8, static_cast<std::uint32_t>(names.size()), names.data());
    return window;
}

int watchAndTell() {
    QWidget own;
    const auto ownWindow = static_cast<xcb_window_t>(own.winId());
    FrontProgram front;
    bool isTold = false;
    QObject::connect(&front, &FrontProgram::changed, [&] { isTold = true; });
    xcb_connection_t* const manager = xcb_connect(nullptr, nullptr);
    const xcb_atom_t active = atomOf(*manager, "_NET_ACTIVE_WINDOW");
    for (std::string name; std::getline(std::cin, name); isTold = false) {
        const xcb_window_t window = name == "nobody" ? 0
                                    : name == "self" ? ownWindow
                                                     : windowOf(*manager, name);
        xcb_change_property(manager, XCB_PROP_MODE_REPLACE, rootWindow(*manager), active,
                            XCB_ATOM_WINDOW, 32, 1, &window);
        xcb_flush(manager);
        if (!QTest::qWaitFor([&] { return isTold; }, kPatience)) return 1;
        constexpr std::array kKinds = {"nobody", "self", "browser", "other"};
        tell(kKinds[static_cast<std::size_t>(front.kind())]);
    }
    xcb_disconnect(manager);
    return 0;
}

}  // namespace

int playRole(const QString& role, int argc, char** argv) {
    QApplication application(argc, argv);
    return role == QLatin1String("grab") ? grabAndTell() : watchAndTell();
}

void X11Test::initTestCase() {
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty()) {
        QSKIP("There is no xdotool.");
    }
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"), QStringLiteral("320x240x24"), QStringLiteral("-nolisten"),
                    QStringLiteral("tcp"), QStringLiteral("-noreset")});
    if (!m_server.waitForStarted()) QSKIP("There is no Xvfb.");
    m_display = QLatin1Char(':') + QString::fromLatin1(lineOf(m_server));
    QVERIFY(m_display != QLatin1String(":nothing"));
}

void X11Test::start(QProcess& program, const char* role) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SIFTWELL_TEST_ROLE"), QString::fromLatin1(role));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {});
}

void X11Test::pressKey(const char* key) {
    QProcess tool;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    tool.setProcessEnvironment(environment);
    tool.start(QStringLiteral("xdotool"), {QStringLiteral("key"), QString::fromLatin1(key)});
    QVERIFY(tool.waitForFinished());
}

void X11Test::theKeyArrivesWhateverLocksAreOnAndNobodyElseGetsIt() {
    QProcess program;
    start(program, "grab");
    QCOMPARE(lineOf(program), "grabbed");
    pressKey("super+ctrl+h");
    QCOMPARE(lineOf(program), "pressed");
    for (const char* lock : {"Num_Lock", "Caps_Lock"}) {
        pressKey(lock);
        pressKey("super+ctrl+h");
        QCOMPARE(lineOf(program), "pressed");
    }
    QProcess other;
    start(other, "grab");
    QCOMPARE(lineOf(other), "Another program uses the hot key Super+Ctrl+H already.");
    for (QProcess* each : {&program, &other}) {
        each->kill();
        QVERIFY(each->waitForFinished());
    }
    QVERIFY(program.readAll().isEmpty());  // each press was told once
}

void X11Test::whoseWindowIsInFrontIsTold() {
    QProcess program;
    start(program, "watch");
    const std::vector<std::pair<QByteArray, QByteArray>> cases = {
        {"firefox", "browser"}, {"XTerm", "other"},   {"Chromium", "browser"},
        {"self", "self"},       {"nobody", "nobody"}, {"Google-chrome", "browser"},
        {"", "other"}};
    for (const auto& [window, kind] : cases) {
        program.write(window + '\n');
        QCOMPARE(lineOf(program), kind);
    }
    program.closeWriteChannel();
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), 0);
}

void X11Test::cleanupTestCase() {
    m_server.terminate();
    m_server.waitForFinished();
}

}  // namespace siftwell
