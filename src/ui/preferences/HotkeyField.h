// HotkeyField: shows the hot key, and lets the user press another one.
//
// The choice counts at once, so that it can be tried; cancelling the preferences takes it back.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

#include "ui/Program.h"
#include "ui/desktop/GlobalHotKey.h"
#include "ui/preferences/HotkeyCapture.h"

namespace siftwell {

class HotkeyField : public QWidget {
    Q_OBJECT

public:
    // `hotKey` outlives the field; null where nothing can be said of it.
    HotkeyField(const Program& program, const GlobalHotKey* hotKey);

    // Shows the combination, and remembers it for takeBack().
    void load();

    // Has no hot key while the user presses one in a sheet.
    void setHotkey();
    // Ends the sheet, if there is one, and stores the outcome.
    void finishHotkey(HotkeyAnswer answer);
    // The combination that was stored at load() again.
    void takeBack();

    HotkeyCapture* sheet() { return m_sheet; }

private:
    void store(const HotKey& key);
    void tell();
    void showKey();

    const Program m_program;
    const GlobalHotKey* const m_hotKey;
    QLineEdit* m_text;
    QPushButton* m_change;
    QLabel* m_problem;
    PropertyList m_loadedCode;  // null where the user has chosen none
    PropertyList m_loadedModifiers;
    HotKey m_remembered;
    QPointer<HotkeyCapture> m_sheet;
};

}  // namespace siftwell
