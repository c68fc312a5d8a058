// SourcesPage: the list of sources beside the details of those that are selected.
//
// Threads: main; browsers are looked for on a thread of its own.
#pragma once

#include <QLabel>
#include <QListView>
#include <QPushButton>

#include "app/BrowserItems.h"
#include "ui/Program.h"
#include "ui/background/TaskThread.h"
#include "ui/preferences/SourceDetails.h"
#include "ui/preferences/SourceListModel.h"

namespace siftwell {

class SourcesPage : public QWidget {
    Q_OBJECT

public:
    SourcesPage(const Program& program, PrefsEdits& edits);

    // Shows the sources anew.
    void load();
    // What keeps the sources from being stored, or ""; that one is then selected.
    QString problem();

private:
    void layOut();
    void selectionChanged();
    void select(const QModelIndexList& sources);
    std::vector<EditedItem*> selected() const;
    void add();
    void remove();
    void findBrowsers();
    void offer(const std::vector<BrowserItems>& found);

    const Program m_program;
    PrefsEdits& m_edits;
    SourceListModel m_model;
    SortedSources m_sorted;
    QListView* m_list;
    SourceDetails* m_details;
    QPushButton* m_add;
    QPushButton* m_remove;
    QPushButton* m_findBrowsers;
    QLabel* m_note;
    TaskThread m_thread;
};

}  // namespace siftwell
