#include "ui/search/DateMenu.h"

#include <QActionGroup>
#include <utility>

#include "ui/Text.h"
#include "ui/search/DateLimitsDialog.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

DateMenu::DateMenu(Settings& settings, QWidget* parent)
    : QMenu(q_("&Date"), parent), m_settings(settings) {
    setAccessibleName(q_("How old pages may be"));
    addLimit(
        q_("&Any time"), [this] { liftDateLimit(m_settings); },
        [this] { return m_settings.integer("constrainDate") == 0; });
    addSeparator();
    addRecent(q_("Past &day"), 1440);
    addRecent(q_("Past &week"), 10080);
    addRecent(q_("Past &month"), 43200);
    addRecent(q_("Past &year"), 525600);
    addSeparator();
    QAction* other = addAction(q_("&Other Dates…"));
    other->setCheckable(true);
    other->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+D")));
    connect(other, &QAction::triggered, this, [this] { ask(); });
    connect(this, &QMenu::aboutToShow, this, [this, other] {
        bool isKnown = false;
        for (const auto& [action, holds] : m_limits) {
            action->setChecked(holds());
            isKnown |= action->isChecked();
        }
        other->setChecked(!isKnown);
    });
}

void DateMenu::addRecent(const QString& title, int minutes) {
    addLimit(
        title, [this, minutes] { limitToRecent(m_settings, 1, minutes); },
        [this, minutes] {
            return m_settings.integer("constrainDate") == 1 &&
                   m_settings.integer("constraintTime") == 1 &&
                   m_settings.integer("constraintTimeUnits") == minutes;
        });
}

void DateMenu::addLimit(const QString& title, std::function<void()> apply,
                        std::function<bool()> holds) {
    QAction* action = addAction(title);
    action->setCheckable(true);
    m_limits.append({action, std::move(holds)});
    connect(action, &QAction::triggered, this, [this, apply = std::move(apply)] {
        apply();
        Q_EMIT changed();
    });
}

void DateMenu::ask() {
    auto* dialog = new DateLimitsDialog(m_settings, parentWidget()->window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, &DateMenu::changed);
    dialog->open();
}

}  // namespace siftwell
