// FoundPane: the pages found, or what there is to say when there are none, above the page that is
// selected.
//
// Threads: main.
#pragma once

#include <QSplitter>
#include <QStackedWidget>
#include <functional>

#include "ui/PreviewPane.h"
#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/EmptyPage.h"
#include "ui/search/PreviewTimer.h"
#include "ui/search/ResultView.h"
#include "ui/search/RowActions.h"

namespace siftwell {

// A pane whose owner the widget becomes, or null.
using MakePreviewPane = std::function<PreviewPane*(QWidget* parent)>;

class FoundPane : public QSplitter {
    Q_OBJECT

public:
    // Borrowed; both outlive the pane. Without `makePreview` there is no preview.
    FoundPane(const Program& program, ActiveSearch& search, const MakePreviewPane& makePreview);

    ResultView& view() { return *m_view; }
    EmptyPage& emptyPage() { return *m_empty; }
    RowActions& rowActions() { return *m_rowActions; }
    QAction* openPreviewed() const { return m_openPreviewed; }

    bool isEmptyPageShown() const { return m_stack->currentWidget() == m_empty; }
    // Rows where there are any.
    void showState();
    // The keyboard goes to the rows, as far as there are any.
    void enterRows();
    void performFindPanelAction(int tag);
    // What is hidden is not to live on.
    void closePreview();

Q_SIGNALS:
    // In the field, because the rows take no text.
    void typed(const QString& text);
    void leftUpwards();
    void siteWanted(const QString& host);

private:
    void addRows();
    void addPreview(const MakePreviewPane& makePreview);
    void connectRows();
    void connectPreview();
    void showMenu(const QPoint& place);
    void togglePreview();
    int previewHeight() const;
    void showPreview();

    ActiveSearch& m_search;
    QStackedWidget* m_stack;
    ResultView* m_view;
    EmptyPage* m_empty;
    RowActions* m_rowActions;
    PreviewPane* m_preview = nullptr;
    PreviewTimer* m_previewTimer;
    QAction* m_openPreviewed;
};

}  // namespace siftwell
