#include "ui/preferences/HotkeyField.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "ui/Text.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

HotkeyField::HotkeyField(const Program& program, const GlobalHotKey* hotKey)
    : m_program(program),
      m_hotKey(hotKey),
      m_text(new QLineEdit),
      m_change(new QPushButton(q_("&Change…"))),
      m_problem(explanation({})) {
    m_text->setReadOnly(true);
    m_text->setAccessibleName(q_("Hot key"));
    m_text->setPlaceholderText(q_("None"));
    m_text->setLayoutDirection(Qt::LeftToRight);
    m_change->setAccessibleName(q_("Change the hot key"));
    m_problem->setForegroundRole(QPalette::WindowText);
    auto* row = new QHBoxLayout;
    row->addWidget(m_text, 1);
    row->addWidget(m_change);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(m_problem);
    setFocusProxy(m_change);
    connect(m_change, &QPushButton::clicked, this, [this] { setHotkey(); });
    if (m_hotKey != nullptr) {
        connect(m_hotKey, &GlobalHotKey::changed, this, [this] { showKey(); });
    }
}

void HotkeyField::load() {
    const Settings& settings = m_program.session.settings();
    m_loadedCode = settings.userValue("HotkeyCode");
    m_loadedModifiers = settings.userValue("HotkeyMods");
    showKey();
}

void HotkeyField::store(const HotKey& key) {
    key.storeIn(m_program.session.settings());
    tell();
}

void HotkeyField::tell() {
    m_program.session.centre().postMainThreadNotificationName(
        "SiftwellPreferenceChangeNotification", {});
}

void HotkeyField::showKey() {
    if (m_sheet != nullptr) return;
    m_text->setText(textOf(HotKey::storedIn(m_program.session.settings())));
    const std::string problem = m_hotKey == nullptr ? "" : m_hotKey->status().message();
    m_problem->setText(toQString(problem));
    m_problem->setVisible(!problem.empty());
}

void HotkeyField::setHotkey() {
    if (m_sheet != nullptr) return;
    m_remembered = HotKey::storedIn(m_program.session.settings());
    m_sheet = new HotkeyCapture(m_remembered, window());
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_sheet, &HotkeyCapture::answered, this,
            [this](HotkeyAnswer answer) { finishHotkey(answer); });
    store({});
    m_sheet->show();
}

void HotkeyField::finishHotkey(HotkeyAnswer answer) {
    if (m_sheet == nullptr) return;
    const HotKey caught = m_sheet->key();
    m_sheet->hide();
    m_sheet->deleteLater();
    m_sheet = nullptr;
    switch (answer) {
        case HotkeyAnswer::Cancel:
            store(m_remembered);
            break;
        case HotkeyAnswer::Accept:
            store(caught);
            break;
        case HotkeyAnswer::Clear:
            store({});
            break;
    }
    showKey();
}

void HotkeyField::takeBack() {
    finishHotkey(HotkeyAnswer::Cancel);
    Settings& settings = m_program.session.settings();
    const auto putBack = [&settings](const std::string& key, const PropertyList& value) {
        if (settings.userValue(key) == value) return false;
        if (value.isNull()) {
            settings.remove(key);
        } else {
            settings.set(key, value);
        }
        return true;
    };
    const bool isCodeChanged = putBack("HotkeyCode", m_loadedCode);
    if (putBack("HotkeyMods", m_loadedModifiers) || isCodeChanged) tell();
}

}  // namespace siftwell
