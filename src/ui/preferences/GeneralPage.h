// GeneralPage: when pages are read and for how long they are kept, windows, updates, the start.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "ui/Program.h"
#include "ui/desktop/GlobalHotKey.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

class GeneralPage : public QWidget {
    Q_OBJECT

public:
    // `hotKey` outlives the page; null where nothing can be said of it.
    GeneralPage(const Program& program, PrefsEdits& edits, const GlobalHotKey* hotKey);

    void load();

private:
    QWidget* makeIndexing();
    QWidget* makeWindows();
    QWidget* makeIconNote();
    QWidget* makeUpdates();
    void lookForUpdate();
    void showLook(const Result<bool>& isThereNewer);

    const Program m_program;
    SettingControls m_controls;
    const GlobalHotKey* const m_hotKey;
    QPushButton* m_look;
    QLabel* m_lookResult;
};

}  // namespace siftwell
