// PreviewPane: where the search window shows the page of a row.
//
// Threads: main; showing a page returns at once.
#pragma once

#include <QWidget>
#include <string>

#include "records/ResultRow.h"

namespace siftwell {

class PreviewPane : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    // Shows the row's page, from its cached copy where there is one, with what `query` (in the
    // engine's language) looks for marked and the first of it in sight. Does nothing when the pane
    // shows that address already.
    virtual void showRow(const ResultRow& row, const std::string& query) = 0;
    // An empty page, and no address.
    virtual void blank() = 0;
    // The address of the page that is shown; "" or "about:blank" for none.
    virtual QString webURL() const = 0;

    // 1 shows the find panel, 2 looks for its text forward and 3 backward; others do nothing.
    virtual void performFindPanelAction(int tag) = 0;

Q_SIGNALS:
    void webURLChanged(const QString& url);
    // The user wants the page in the browser.
    void openRequested();
};

}  // namespace siftwell
