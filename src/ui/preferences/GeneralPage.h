// GeneralPage: when pages are read and for how long they are kept, windows, updates, the start.
//
// Threads: main.
#pragma once

#include <QWidget>

#include "ui/Program.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

class GeneralPage : public QWidget {
    Q_OBJECT

public:
    GeneralPage(const Program& program, PrefsEdits& edits);

    void load() { m_controls.load(); }

private:
    QWidget* makeIndexing();
    QWidget* makeWindows();
    QWidget* makeUpdates();

    const Program m_program;
    SettingControls m_controls;
};

}  // namespace siftwell
