// DocumentView: the table of documents. The row that the eye is on stays when the list changes.
//
// Threads: main.
#pragma once

#include <QTableView>
#include <optional>
#include <string>
#include <vector>

#include "ui/status/DocumentModel.h"

namespace siftwell {

class DocumentView : public QTableView {
    Q_OBJECT

public:
    explicit DocumentView(RunLoop& mainLoop, QWidget* parent = nullptr);

    DocumentModel& documents() { return m_model; }
    void setList(const DocumentListPointer& list);
    // Until the next list comes, which is without them. The row behind the first is selected.
    void leaveOut(const std::vector<DocumentRow>& documents);

    // What is said in place of rows when there are none.
    void setEmptyText(const QString& text);

    // In the order of the list; at most so many as one may work on at once.
    std::vector<int> selectedRows() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Sight {
        std::optional<DocumentRow> top;  // none when the list stands at its begin
        std::optional<DocumentRow> current;
        std::vector<DocumentRow> selected;
    };

    void arrange();
    void fitColumns();
    Sight sight() const;
    void restore(const Sight& sight);

    DocumentModel m_model;
    QString m_emptyText;
};

}  // namespace siftwell
