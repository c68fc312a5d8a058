// SearchBar: the field for the words, and beside it how, where and how far back they are looked
// for.
//
// Threads: main.
#pragma once

#include <QPushButton>
#include <QToolBar>

#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/DateMenu.h"
#include "ui/search/SearchField.h"
#include "ui/search/SearchMenus.h"

namespace siftwell {

class SearchBar : public QToolBar {
    Q_OBJECT

public:
    // Borrowed; both outlive the bar.
    SearchBar(const Program& program, ActiveSearch& search, QWidget* parent);

    SearchField& field() { return *m_field; }
    // At the bar's end.
    void append(QToolBar* actions);
    void addMenusTo(QMenu& menu);

    // The buttons say what counts now.
    void showLimits();
    // The field says how many pages there are to search.
    void showCount();

Q_SIGNALS:
    void limitsChanged();

private:
    void layOut();
    void setKey(QPushButton* button, const char* key);

    const Program m_program;
    ActiveSearch& m_search;
    RecentMenu* m_recentMenu;
    SearchTypeMenu* m_typeMenu;
    LocationMenu* m_locationMenu;
    DateMenu* m_dateMenu;
    SearchField* m_field;
    QPushButton* m_typeButton;
    QPushButton* m_locationButton;
    QPushButton* m_dateButton;
    QHBoxLayout* m_row;
};

}  // namespace siftwell
