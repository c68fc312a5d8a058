// The menus that say how, where and since when to search. Each shows what holds when it opens.
//
// Threads: main.
#pragma once

#include <QMenu>

#include "ui/search/ActiveSearch.h"

namespace siftwell {

// Borrowed by each; outlives it.

class RecentMenu : public QMenu {
    Q_OBJECT

public:
    RecentMenu(ActiveSearch& search, QWidget* parent);

private:
    void fill();

    ActiveSearch& m_search;
};

class SearchTypeMenu : public QMenu {
    Q_OBJECT

public:
    SearchTypeMenu(ActiveSearch& search, QWidget* parent);

private:
    ActiveSearch& m_search;
};

class LocationMenu : public QMenu {
    Q_OBJECT

public:
    LocationMenu(ActiveSearch& search, QWidget* parent);

Q_SIGNALS:
    void changed();

private:
    void fill();

    ActiveSearch& m_search;
};

QString searchTypeName(SearchType type);

}  // namespace siftwell
