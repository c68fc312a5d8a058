#include "ui/search/ActiveSearch.h"

#include <cstdlib>
#include <iterator>
#include <utility>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr int kLongList = 1000;
constexpr std::chrono::milliseconds kSortPause(100);

SearchType storedType(const Settings& settings) {
    const auto type = settings.integer("SearchType");
    return type >= 0 && type <= static_cast<int>(SearchType::Raw) ? static_cast<SearchType>(type)
                                                                  : SearchType::AllWords;
}

}  // namespace

ActiveSearch::ActiveSearch(const Program& program)
    : m_program(program), m_snippets(program.session.mainLoop()), m_controller(surroundings()) {
    m_controller.setSearchType(storedType(program.session.settings()));
    m_sortTimer.setSingleShot(true);
    m_sortTimer.setInterval(kSortPause);
    connect(&m_sortTimer, &QTimer::timeout, this, [this] { sortIn(); });
    m_refreshRequests =
        program.session.centre().observe("SiftwellIndexRequestSearchRefreshNotification",
                                         [this](const PropertyList&) { searchAgain(); });
}

ActiveSearch::~ActiveSearch() = default;

ContentSearchController::Surroundings ActiveSearch::surroundings() {
    Session& session = m_program.session;
    return {.indexes = session.indexes(),
            .settings = session.settings(),
            .mainLoop = session.mainLoop(),
            .centre = session.centre(),
            .notifier = session.notifier(),
            .clock = session.clock(),
            .observer = *this,
            .resourceFolder = session.paths().resourceFolder,
            .setSearched = [this](const std::string& name, bool isSearched) {
                static_cast<void>(m_program.driver.setSearchItemValue(name, "Search", isSearched));
            }};
}

std::string ActiveSearch::fieldText() const {
    const bool isMini = m_miniField && m_miniField->window()->isVisible();
    const QLineEdit* field = isMini ? m_miniField : m_mainField;
    return field ? field->text().trimmed().toStdString() : m_controller.searchQuery();
}

// Where nothing is searched is said once, not at each letter.
void ActiveSearch::performSearch() {
    if (!isNowhereSearched() || !m_isNowhereTold) m_controller.performSearch(fieldText());
    m_isNowhereTold = isNowhereSearched();
    if (m_isNowhereTold) showNothingFound();
}

bool ActiveSearch::isNowhereSearched() const {
    const auto sources = m_controller.searchSources();
    return sources && sources->empty();
}

// Rows of other words would mislead.
void ActiveSearch::showNothingFound() {
    m_controller.cancelSearch();
    rowsCleared();
    m_placeholder = Placeholder::NothingFound;
    Q_EMIT listHidden();
    Q_EMIT changed();
}

void ActiveSearch::searchAgain() {
    if (!m_controller.searchQuery().empty() || !fieldText().empty()) performSearch();
}

void ActiveSearch::performRecentSearch(const std::string& text) {
    m_controller.performRecentSearch(text);
    if (isNowhereSearched()) showNothingFound();
}

Status ActiveSearch::searchService(const std::string& text) {
    Status status = m_controller.searchService(text);
    if (isNowhereSearched()) showNothingFound();
    return status;
}

void ActiveSearch::setSearchType(SearchType type) {
    m_controller.setSearchType(type);
    m_program.session.settings().set("SearchType", std::to_string(static_cast<int>(type)));
    Q_EMIT searchTypeChanged();
    searchAgain();
}

// ---- What comes of a search

void ActiveSearch::windowShown(const std::string& searchQuery) {
    Q_EMIT windowWanted(toQString(searchQuery));
}

void ActiveSearch::rowsCleared() {
    m_sortTimer.stop();
    m_waiting.clear();
    m_maxRelevance = 0;
    m_placeholder = Placeholder::None;
    m_snippets.begin(m_controller.skSearchQuery(), m_program.session.indexes().stopWords());
    m_results.clear();
    Q_EMIT cleared();
}

void ActiveSearch::rowsAppended(std::vector<FoundRow> rows, float maxRelevance) {
    Q_EMIT rowsArrived(rows, maxRelevance);
    m_maxRelevance = maxRelevance;
    m_waiting.insert(m_waiting.end(), std::make_move_iterator(rows.begin()),
                     std::make_move_iterator(rows.end()));
    if (m_results.rowCount() < kLongList) return sortIn();
    if (!m_sortTimer.isActive()) m_sortTimer.start();
}

void ActiveSearch::sortIn() {
    m_sortTimer.stop();
    if (m_waiting.empty()) return;
    m_results.append(std::exchange(m_waiting, {}), m_maxRelevance);
    Q_EMIT changed();
}

void ActiveSearch::placeholderShown(const std::string&) {
    m_placeholder =
        m_controller.searchQuery().empty() ? Placeholder::NothingTyped : Placeholder::NothingFound;
    Q_EMIT listHidden();
    Q_EMIT changed();
}

void ActiveSearch::previewBlanked(const std::string&) { Q_EMIT previewUnwanted(); }

void ActiveSearch::statusChanged(const std::string& status) {
    if (status.empty()) sortIn();
    const QString text = toQString(status);
    if (text == m_status) return;
    m_status = text;
    Q_EMIT changed();
}

void ActiveSearch::searchDone() {
    sortIn();
    Q_EMIT changed();
}

}  // namespace siftwell
