// RowActions: what can be done with the selected row, as actions of menus, tool bar and keys.
//
// Threads: main.
#pragma once

#include <QAction>
#include <QObject>

#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/ResultView.h"

namespace siftwell {

class RowActions : public QObject {
    Q_OBJECT

public:
    // Borrowed; all outlive the actions, which work while the view has the keyboard.
    RowActions(const Program& program, ActiveSearch& search, ResultView& view, QObject* parent);

    QAction* const open;
    QAction* const copy;
    QAction* const preview;
    QAction* const moreFromSite;
    QAction* const remove;
    QAction* const addFilter;
    QAction* const neverIndexSite;

    // The row's page, or the one at the address; an alert says so when nothing opens it.
    void openSelection();
    void openAddress(const QString& address);

Q_SIGNALS:
    void rowTaken();  // opened or copied: no preview is to follow
    void rowRemoved(const QString& address);
    void siteWanted(const QString& host);
    void previewToggled();

private:
    const FoundRow* selection() const;
    QString hostOfSelection() const;
    void copySelection();
    void removeSelection();
    void addFilterForSelection();
    void neverIndexSiteOfSelection();
    void searchSiteOfSelection();
    void togglePreview() { Q_EMIT previewToggled(); }

    const Program m_program;
    ActiveSearch& m_search;
    ResultView& m_view;
};

}  // namespace siftwell
