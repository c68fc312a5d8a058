// WaitSheet: covers the preferences while a scan or a command still works on the index. The user
// can give up; when it takes long, that is said.
//
// Threads: main.
#pragma once

#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <chrono>

#include "app/Driver.h"

namespace siftwell {

class WaitSheet : public QDialog {
    Q_OBJECT

public:
    // `driver` outlives the sheet.
    WaitSheet(Driver& driver, QWidget* parent);

    // Says what is waited for, and has been so long.
    void showState(std::chrono::milliseconds waited);
    QString text() const { return m_text->text(); }

private:
    Driver& m_driver;
    QLabel* m_text;
    QProgressBar* m_bar;
};

}  // namespace siftwell
