#include "ui/search/SearchMenus.h"

#include <QActionGroup>
#include <array>

#include "ui/Text.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

namespace {

constexpr std::array<const char*, 5> kTypes = {N_("All words"), N_("All parts of words"),
                                               N_("Any word"), N_("Any part of a word"),
                                               N_("Query as typed")};
constexpr qsizetype kLongestTitle = 60;

// A name or text of the user's as it stands: "&" marks no key in it.
QString asTitle(const std::string& text) {
    QString title = toQString(text).simplified();
    if (title.size() > kLongestTitle) title = title.left(kLongestTitle) + QChar(0x2026);
    return title.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

}  // namespace

QString searchTypeName(SearchType type) { return q_(kTypes[static_cast<std::size_t>(type)]); }

RecentMenu::RecentMenu(ActiveSearch& search, QWidget* parent)
    : QMenu(q_("&Recent Searches"), parent), m_search(search) {
    connect(this, &QMenu::aboutToShow, this, [this] { fill(); });
}

void RecentMenu::fill() {
    clear();
    const auto searches = m_search.controller().recentSearches();
    if (searches.empty()) {
        addAction(q_("No Recent Searches"))->setEnabled(false);
        return;
    }
    for (const std::string& text : searches) {
        connect(addAction(asTitle(text)), &QAction::triggered, this,
                [this, text] { m_search.performRecentSearch(text); });
    }
    addSeparator();
    connect(addAction(q_("Clear Recent Searches")), &QAction::triggered, this,
            [this] { m_search.controller().clearRecentSearches(); });
}

SearchTypeMenu::SearchTypeMenu(ActiveSearch& search, QWidget* parent)
    : QMenu(q_("Find &Words"), parent), m_search(search) {
    auto* group = new QActionGroup(this);
    for (std::size_t i = 0; i < kTypes.size(); ++i) {
        const auto type = static_cast<SearchType>(i);
        QAction* action = addAction(searchTypeName(type));
        action->setCheckable(true);
        action->setShortcut(QKeySequence(static_cast<int>(Qt::CTRL) |
                                         (static_cast<int>(Qt::Key_1) + static_cast<int>(i))));
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, type] { m_search.setSearchType(type); });
    }
    const auto check = [this] {
        actions().at(static_cast<int>(m_search.searchType()))->setChecked(true);
    };
    connect(&m_search, &ActiveSearch::searchTypeChanged, this, check);
    check();
}

LocationMenu::LocationMenu(ActiveSearch& search, QWidget* parent)
    : QMenu(q_("&Location"), parent), m_search(search) {
    setAccessibleName(q_("Where to search"));
    connect(this, &QMenu::aboutToShow, this, [this] { fill(); });
}

void LocationMenu::fill() {
    clear();
    QAction* all = addAction(q_("&Everywhere"));
    all->setEnabled(m_search.controller().searchSources().has_value());
    connect(all, &QAction::triggered, this, [this] {
        searchEverywhere(m_search);
        Q_EMIT changed();
    });
    addSeparator();
    for (const SearchSource& source : m_search.controller().searchSourceSettings()) {
        QAction* action = addAction(asTitle(source.Name));
        action->setCheckable(true);
        action->setChecked(source.Search);
        connect(action, &QAction::toggled, this, [this, name = source.Name](bool isSearched) {
            m_search.controller().setSearchSourceSetting(name, isSearched);
            Q_EMIT changed();
        });
    }
}

}  // namespace siftwell
