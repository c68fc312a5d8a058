// ActiveSearch: the one search of the program, which the search window and the small one share.
//
// The text of the small window's field is searched while that window is visible, else the main
// one's. Rows, statuses and ends come as signals.
//
// Threads: main. It goes before the session closes, and after the windows.
#pragma once

#include <QLineEdit>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <vector>

#include "search/ContentSearchController.h"
#include "ui/Program.h"
#include "ui/search/ResultModel.h"
#include "ui/search/Snippets.h"

namespace siftwell {

class ActiveSearch : public QObject, private SearchObserver {
    Q_OBJECT

public:
    // What stands in the place of rows.
    enum class Placeholder { None, NothingTyped, NothingFound };

    explicit ActiveSearch(const Program& program);
    ~ActiveSearch() override;

    void setMainField(QLineEdit* field) { m_mainField = field; }
    void setMiniField(QLineEdit* field) { m_miniField = field; }

    // By the field that counts, in the place of whatever is being searched.
    void performSearch();
    // The same, when a text is searched at all: something that limits the search has changed.
    void searchAgain();
    // The text comes into the main field; its window is wanted.
    void performRecentSearch(const std::string& text);
    Status searchService(const std::string& text);

    SearchType searchType() const { return m_controller.searchType(); }
    void setSearchType(SearchType type);

    ContentSearchController& controller() { return m_controller; }
    ResultModel& results() { return m_results; }
    Snippets& snippets() { return m_snippets; }
    Placeholder placeholder() const { return m_placeholder; }
    const QString& status() const { return m_status; }
    bool isSearching() const { return !m_status.isEmpty(); }

Q_SIGNALS:
    void cleared();
    void rowsArrived(const std::vector<FoundRow>& rows, float maxRelevance);
    void changed();  // rows, placeholder or status
    void searchTypeChanged();
    void listHidden();  // a list that pops up has nothing to show
    void previewUnwanted();
    // "" leaves the field's text as it is.
    void windowWanted(const QString& text);

private:
    void windowShown(const std::string& searchQuery) override;
    void rowsCleared() override;
    void rowsAppended(std::vector<FoundRow> rows, float maxRelevance) override;
    void placeholderShown(const std::string& title) override;
    void previewBlanked(const std::string& page) override;
    void statusChanged(const std::string& status) override;
    void searchDone() override;

    ContentSearchController::Surroundings surroundings();
    std::string fieldText() const;
    bool isNowhereSearched() const;
    void showNothingFound();
    void sortIn();

    const Program m_program;
    QPointer<QLineEdit> m_mainField;
    QPointer<QLineEdit> m_miniField;
    ResultModel m_results;
    Snippets m_snippets;
    Placeholder m_placeholder = Placeholder::NothingTyped;
    QString m_status;
    bool m_isNowhereTold = false;
    // Rows of a long list, which are sorted in some at a time.
    std::vector<FoundRow> m_waiting;
    float m_maxRelevance = 0;
    QTimer m_sortTimer;
    NotificationCentre::Observation m_refreshRequests;
    ContentSearchController m_controller;
};

}  // namespace siftwell
