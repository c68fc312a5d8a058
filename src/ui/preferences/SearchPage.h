// SearchPage: how pages are searched for, the hot key, and the words that are not looked for.
//
// Threads: main.
#pragma once

#include <QPlainTextEdit>

#include "ui/Program.h"
#include "ui/preferences/HotkeyField.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

class SearchPage : public QWidget {
    Q_OBJECT

public:
    SearchPage(const Program& program, PrefsEdits& edits, const GlobalHotKey* hotKey);

    void load();
    HotkeyField& hotkey() { return *m_hotkey; }

private:
    QWidget* makeSearching();
    QWidget* makeHotkey();
    QWidget* makeStopWords();

    const Program m_program;
    SettingControls m_controls;
    HotkeyField* m_hotkey;
    QPlainTextEdit* m_stopWords;
};

}  // namespace siftwell
