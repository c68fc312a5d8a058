// DateMenu: how old pages may be.
//
// Threads: main.
#pragma once

#include <QMenu>
#include <functional>

#include "base/Settings.h"

namespace siftwell {

class DateMenu : public QMenu {
    Q_OBJECT

public:
    // Borrowed; outlives the menu.
    DateMenu(Settings& settings, QWidget* parent);

Q_SIGNALS:
    void changed();

private:
    void addRecent(const QString& title, int minutes);
    void addLimit(const QString& title, std::function<void()> apply, std::function<bool()> holds);
    void ask();

    Settings& m_settings;
    QList<std::pair<QAction*, std::function<bool()>>> m_limits;
};

}  // namespace siftwell
