// FiltersPage: the texts that keep addresses out of the index.
//
// Threads: main.
#pragma once

#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

#include "ui/Program.h"
#include "ui/preferences/PrefsEdits.h"

namespace siftwell {

class FiltersPage : public QWidget {
    Q_OBJECT

public:
    FiltersPage(const Program& program, PrefsEdits& edits);

    void load();

private:
    void layOut();
    void showRow(const URLFilter& filter);
    void store();
    void selectionChanged();
    void add();
    void remove();
    void reset();

    const Program m_program;
    PrefsEdits& m_edits;
    QListWidget* m_list;
    QLineEdit* m_text;
    QPushButton* m_add;
    QPushButton* m_remove;
    QPushButton* m_reset;
};

}  // namespace siftwell
