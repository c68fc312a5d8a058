// PrivacyPage: what is read and sent, and where everything lies.
//
// Threads: main.
#pragma once

#include <QWidget>

#include "ui/Program.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

class PrivacyPage : public QWidget {
    Q_OBJECT

public:
    PrivacyPage(const Program& program, PrefsEdits& edits);

    void load() { m_controls.load(); }

private:
    QWidget* makeReading();
    QWidget* makePreviews();
    QWidget* makeData();

    const Program m_program;
    SettingControls m_controls;
};

}  // namespace siftwell
