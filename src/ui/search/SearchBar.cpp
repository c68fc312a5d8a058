#include "ui/search/SearchBar.h"

#include <QAction>
#include <QHBoxLayout>

#include "ui/Text.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

namespace {

QPushButton* menuButton(QMenu* menu, const QString& accessibleName) {
    auto* button = new QPushButton;
    button->setMenu(menu);
    button->setAutoDefault(false);
    button->setAccessibleName(accessibleName);
    button->setToolTip(accessibleName);
    return button;
}

// Long names of places are not to push the field away.
void showOn(QPushButton* button, const QString& text) {
    const QFontMetrics metrics = button->fontMetrics();
    button->setText(metrics.elidedText(text, Qt::ElideRight, metrics.averageCharWidth() * 20)
                        .replace(QLatin1Char('&'), QStringLiteral("&&")));
    button->setAccessibleDescription(text);
    button->setMinimumWidth(0);
    button->setMinimumWidth(button->sizeHint().width() + metrics.averageCharWidth());
}

}  // namespace

SearchBar::SearchBar(const Program& program, ActiveSearch& search, QWidget* parent)
    : QToolBar(q_("Search"), parent),
      m_program(program),
      m_search(search),
      m_recentMenu(new RecentMenu(search, this)),
      m_typeMenu(new SearchTypeMenu(search, this)),
      m_locationMenu(new LocationMenu(search, this)),
      m_dateMenu(new DateMenu(program.session.settings(), this)),
      m_field(new SearchField(program.session.settings(), m_recentMenu)),
      m_typeButton(menuButton(m_typeMenu, q_("How the words are looked for"))),
      m_locationButton(menuButton(m_locationMenu, q_("Where to search"))),
      m_dateButton(menuButton(m_dateMenu, q_("How old pages may be"))),
      m_row(new QHBoxLayout) {
    setObjectName(QStringLiteral("SearchBar"));
    setMovable(false);
    toggleViewAction()->setEnabled(false);  // nothing works without it
    layOut();
    setKey(m_locationButton, "Ctrl+Shift+L");
    setKey(m_typeButton, "Ctrl+Shift+W");
    connect(m_locationMenu, &LocationMenu::changed, this, &SearchBar::limitsChanged);
    connect(m_dateMenu, &DateMenu::changed, this, &SearchBar::limitsChanged);
    connect(&m_search, &ActiveSearch::searchTypeChanged, this, &SearchBar::showLimits);
    showLimits();
    showCount();
}

void SearchBar::layOut() {
    auto* row = new QWidget;
    row->setLayout(m_row);
    const int gap = fontMetrics().height() / 3;
    m_row->setContentsMargins(gap, gap, gap, gap);
    m_row->setSpacing(gap);
    m_row->addWidget(m_field, 1);
    for (QPushButton* button : {m_typeButton, m_locationButton, m_dateButton}) {
        m_row->addWidget(button);
    }
    m_field->setMinimumWidth(fontMetrics().averageCharWidth() * 16);
    row->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    addWidget(row);
}

void SearchBar::append(QToolBar* actions) { m_row->addWidget(actions); }

void SearchBar::setKey(QPushButton* button, const char* key) {
    auto* action = new QAction(this);
    action->setShortcut(QKeySequence(QString::fromLatin1(key)));
    connect(action, &QAction::triggered, button, &QPushButton::showMenu);
    parentWidget()->addAction(action);
    button->setToolTip(button->toolTip() + QStringLiteral(" (") +
                       action->shortcut().toString(QKeySequence::NativeText) + QLatin1Char(')'));
}

void SearchBar::addMenusTo(QMenu& menu) {
    menu.addMenu(m_typeMenu);
    menu.addMenu(m_locationMenu);
    menu.addMenu(m_dateMenu);
    menu.addMenu(m_recentMenu);
    m_locationMenu->menuAction()->setToolTip(q_("Where to search"));
}

void SearchBar::showLimits() {
    showOn(m_typeButton, searchTypeName(m_search.searchType()));
    showOn(m_locationButton, locationText(m_search));
    showOn(m_dateButton, dateText(m_program.session.settings()));
}

void SearchBar::showCount() {
    const auto count = m_program.session.indexes().documentCount();
    m_field->setPlaceholderText(
        count > 0 ? counted(N_("Search %@ page"), N_("Search %@ pages"), count) : q_("Search"));
}

}  // namespace siftwell
