#include "ui/desktop/DesktopTest.h"

#include <set>

#include "ui/desktop/GlobalHotKey.h"
#include "ui/desktop/LaunchAtLogin.h"
#include "ui/desktop/TrayIcon.h"
#include "ui/support/UiProgram.h"

namespace siftwell {

namespace {

constexpr HotKey kUsual{4, 4352};

QKeyEvent press(Qt::Key key, Qt::KeyboardModifiers modifiers, quint32 place = 0) {
    return {QEvent::KeyPress, key, modifiers, place, 0, 0};
}

// Notes what is grabbed, and refuses what it is told to.
class NotedGrab : public HotKeyGrab {
public:
    NotedGrab(Handlers handlers, QStringList& calls)
        : m_handlers(std::move(handlers)), m_calls(calls) {}

    void grab(const HotKey& key) override {
        m_calls << textOf(key);
        m_handlers.grabbed(key.code == 4 ? Status() : Status(StatusCode::Busy, "taken"));
        m_handlers.pressed();
    }
    void release() override { m_calls << QStringLiteral("-"); }

private:
    const Handlers m_handlers;
    QStringList& m_calls;
};

}  // namespace

void DesktopTest::everyCodeHasOneKeyAndBack() {
    QCOMPARE(textOf(kUsual), QStringLiteral("Super+Ctrl+H"));
    QCOMPARE(portalTriggerOf(kUsual), QStringLiteral("CTRL+LOGO+h"));
    QCOMPARE(textOf({}), QString());
    QVERIFY(!HotKey({0, 256}).isNone());  // the letter A
    std::set<Qt::Key> keys;
    int codes = 0;
    for (std::uint16_t code = 0; code < 200; ++code) {
        const HotKeyCode* found = hotKeyCode(code);
        if (found == nullptr) continue;
        ++codes;
        keys.insert(found->key);
        const HotKey expected{code, HotKey::kControl | HotKey::kShift};
        const auto back = hotKeyOf(press(found->key, Qt::ControlModifier | Qt::ShiftModifier));
        QVERIFY2(back == expected, found->name);
    }
    QVERIFY(codes > 70);
    QCOMPARE(keys.size(), static_cast<std::size_t>(codes));
}

void DesktopTest::aKeyIsNamedByItsPlaceWhereItTypesSomethingElse() {
    const HotKey shiftedOne{18, HotKey::kAlt | HotKey::kShift};
    QVERIFY(hotKeyOf(press(Qt::Key_Exclam, Qt::AltModifier | Qt::ShiftModifier, 10)) == shiftedOne);
    const auto cyrillic = static_cast<Qt::Key>(0x0420);
    QVERIFY(hotKeyOf(press(cyrillic, Qt::MetaModifier | Qt::ControlModifier, 43)) == kUsual);
    QVERIFY(!hotKeyOf(press(Qt::Key_H, Qt::ShiftModifier, 43)));
    QVERIFY(!hotKeyOf(press(Qt::Key_Meta, Qt::MetaModifier, 133)));
    QVERIFY(hotKeyOf(press(Qt::Key_F5, Qt::NoModifier)) == (HotKey{96, 0}));
}

void DesktopTest::theEntryAtLoginIsWrittenForThisProgramAndRemoved() {
    const TemporaryFolder home;
    const LaunchAtLogin entry(Paths{.settingsFile = home.file("config/siftwell/settings.plist")});
    QVERIFY(entry.set(true).isOk());
    QVERIFY(entry.isOn());
    const std::string text = home.read("config/autostart/siftwell.desktop");
    QVERIFY(text.starts_with("[Desktop Entry]\n"));
    QVERIFY(text.find("\nExec=\"" + programFolder() + "/siftwell-gui\" --background\n") !=
            std::string::npos);
    home.write("config/autostart/siftwell.desktop", text + "Hidden = true\n");
    QVERIFY(!entry.isOn());  // the desktop has switched it off
    QVERIFY(entry.set(true).isOk());
    QVERIFY(entry.isOn());
    QVERIFY(entry.set(false).isOk());
    QVERIFY(!entry.isOn());
    QVERIFY(entry.set(false).isOk());
    QCOMPARE(quotedForExec(R"(/a b/100%/"$x\)"), std::string(R"("/a b/100%%/\\"\\$x\\\\")"));
}

void DesktopTest::theHotKeyFollowsTheSettings() {
    UiProgram program;
    QStringList calls;
    int pressed = 0;
    GlobalHotKey hotKey(
        program.settings(), program.session().centre(), [&] { ++pressed; },
        [&](const HotKeyGrab::Handlers& handlers) {
            return std::make_unique<NotedGrab>(handlers, calls);
        });
    QVERIFY(hotKey.isActive());
    QTRY_COMPARE(pressed, 1);
    const auto change = [&](const char* key, const PropertyList& value) {
        calls.clear();
        QVERIFY(program.driver().setSetting(key, value).isOk());
        QCoreApplication::processEvents();
    };
    change("DaysToSearch", 30);
    QVERIFY(calls.isEmpty());
    change("HotkeyCode", 5);
    QCOMPARE(calls.join(QLatin1Char(' ')), QStringLiteral("- Super+Ctrl+G"));
    QVERIFY(!hotKey.isActive());
    QCOMPARE(hotKey.status().message(), std::string("taken"));
    change("EnableHotkey", false);
    QCOMPARE(calls.join(QLatin1Char(' ')), QStringLiteral("-"));
    QVERIFY(hotKey.status().isOk());

    const GlobalHotKey none(
        program.settings(), program.session().centre(), [] {},
        [](const HotKeyGrab::Handlers&) { return nullptr; });
    QVERIFY(none.status().isOk());
    change("EnableHotkey", true);
    QVERIFY(!none.status().isOk());  // said plainly
}

void DesktopTest::theMenuOfThePanelLeadsEverywhere() {
    UiProgram program;
    GlobalHotKey hotKey(
        program.settings(), program.session().centre(), [] {},
        [](const HotKeyGrab::Handlers&) { return nullptr; });
    TrayIcon icon(program.program(), hotKey);
    for (QAction* each : icon.menu().actions()) each->trigger();
    QCOMPARE(program.commands.calls, (std::vector<std::string>{"search", "mini", "status", "scan",
                                                               "preferences 0", "quit"}));
    // No panel here, and no hot key: that is said whatever the user chose.
    QVERIFY(program.driver().setSetting("ShowIconInDock", false).isOk());
    QCoreApplication::processEvents();
    QVERIFY(!icon.status().isOk());
    program.session().notifier().reportStatus("At work");
    QTRY_COMPARE(icon.toolTip(), QStringLiteral("Siftwell\nAt work"));
}

}  // namespace siftwell
