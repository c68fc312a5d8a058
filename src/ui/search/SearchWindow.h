// SearchWindow: the field, the pages found, and the page that is selected.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <functional>

#include "ui/PreviewPane.h"
#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/DateMenu.h"
#include "ui/search/EmptyPage.h"
#include "ui/search/PreviewTimer.h"
#include "ui/search/ResultView.h"
#include "ui/search/RowActions.h"
#include "ui/search/SearchField.h"
#include "ui/search/SearchMenus.h"

namespace siftwell {

// A pane whose owner the widget becomes, or null.
using MakePreviewPane = std::function<PreviewPane*(QWidget* parent)>;

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

    SearchField& field() { return *m_field; }
    ResultView& view() { return *m_view; }
    EmptyPage& emptyPage() { return *m_empty; }
    RowActions& rowActions() { return *m_rowActions; }
    QString statusText() const { return m_status->text(); }
    bool isEmptyPageShown() const { return m_stack->currentWidget() == m_empty; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setUpField();
    void setUpToolBar();
    void setUpRows(const MakePreviewPane& makePreview);
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
    void connectSearch();
    void connectPreview();
    void showLimits();
    void showState();
    void showCount();
    void enterRows();
    void searchFor(const QString& text);
    void togglePreview();
    int previewHeight() const;
    void showPreview();
    void takePaletteSettings();
    void restoreLook();
    void keepLook();

    const Program m_program;
    ActiveSearch& m_search;
    bool m_isEnding = false;
    RecentMenu* m_recentMenu;
    SearchTypeMenu* m_typeMenu;
    LocationMenu* m_locationMenu;
    DateMenu* m_dateMenu;
    SearchField* m_field;
    QPushButton* m_typeButton;
    QPushButton* m_locationButton;
    QPushButton* m_dateButton;
    QSplitter* m_splitter;
    QStackedWidget* m_stack;
    ResultView* m_view;
    EmptyPage* m_empty;
    RowActions* m_rowActions;
    PreviewPane* m_preview = nullptr;
    PreviewTimer* m_previewTimer;
    QAction* m_openPreviewed;
    QToolBar* m_actionBar;
    QAction* m_tableForm = nullptr;
    QLabel* m_status;
    NotificationCentre::Observation m_preferenceChanges;
    NotificationCentre::Observation m_loaderEnds;
};

}  // namespace siftwell
