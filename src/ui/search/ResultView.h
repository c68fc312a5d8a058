// ResultView: the rows of a search, drawn as a person reads them or as a plain table.
//
// While rows come in, the row the eye is on stays where it is: the selected one where it is in
// sight, else the uppermost, unless the list stands at its beginning.
//
// Threads: main.
#pragma once

#include <QPersistentModelIndex>
#include <QTableView>

#include "ui/search/ResultModel.h"
#include "ui/search/Snippets.h"

namespace siftwell {

class ResultView : public QTableView {
    Q_OBJECT

public:
    enum class Form { Rows, Table };

    // Borrowed; both outlive the view.
    ResultView(ResultModel& rows, Snippets& snippets, QWidget* parent = nullptr);

    void setForm(Form form);
    Form form() const { return m_form; }

    // How the columns of the table stand, to be kept and given back.
    QByteArray columns() const;
    void setColumns(const QByteArray& columns);
    bool isColumnShown(int column) const;
    void showColumn(int column, bool isShown);

    // The first selected row, or -1.
    int selectedRow() const;
    void selectRowAt(int row);

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void selectionMoved();
    void upFromFirst();
    // The user goes on writing.
    void typed(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void keyboardSearch(const QString& text) override { Q_EMIT typed(text); }
    void changeEvent(QEvent* event) override;
    void selectionChanged(const QItemSelection& selected,
                          const QItemSelection& deselected) override;

private:
    void setUpHeaders();
    void fitRows();
    void rememberPlace();
    void returnToPlace();

    ResultModel& m_rows;
    QAbstractItemDelegate* m_rowDelegate;
    QAbstractItemDelegate* m_tableDelegate;
    Form m_form = Form::Rows;
    QByteArray m_columns;  // of the table, while rows are shown
    QPersistentModelIndex m_anchor;
    int m_anchorTop = 0;
};

}  // namespace siftwell
