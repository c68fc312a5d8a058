// SearchWindow: the field, the pages found, and the page that is selected.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <functional>
#include <vector>

#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/FoundPane.h"
#include "ui/search/SearchBar.h"

namespace siftwell {

class SearchWindow : public QMainWindow {
    Q_OBJECT

public:
    // Borrowed; all outlive the window. Without `makePreview` there is no preview.
    SearchWindow(const Program& program, ActiveSearch& search, const MakePreviewPane& makePreview);
    ~SearchWindow() override;

    // In front, with the keyboard in the field.
    void bringUp();
    // The program ends: that the window goes is not the user's wish.
    void setIsEnding() { m_isEnding = true; }

    SearchField& field() { return m_bar->field(); }
    ResultView& view() { return m_found->view(); }
    EmptyPage& emptyPage() { return m_found->emptyPage(); }
    RowActions& rowActions() { return m_found->rowActions(); }
    QString statusText() const { return m_status->text(); }
    bool isEmptyPageShown() const { return m_found->isEmptyPageShown(); }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setUpActionBar();
    void setUpStatusLine();
    void setUpMenus();
    void addFileMenu();
    void addEditMenu();
    void addSearchMenu();
    void addViewMenu();
    void addColumnsMenu(QMenu& menu);
    void addSortMenu(QMenu& menu);
    QAction* addAction(QMenu& menu, const char* text, const QList<QKeySequence>& keys,
                       std::function<void()> act);
    void connectParts();
    void observe();
    void limitsChanged();
    void searchFor(const QString& text);
    void showState();
    void showCount();
    void takePaletteSettings();
    void restoreLook();
    void keepLook();

    const Program m_program;
    ActiveSearch& m_search;
    bool m_isEnding = false;
    SearchBar* m_bar;
    FoundPane* m_found;
    QToolBar* m_actionBar;
    QAction* m_tableForm = nullptr;
    QLabel* m_status;
    std::vector<NotificationCentre::Observation> m_observations;
};

}  // namespace siftwell
