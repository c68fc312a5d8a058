// MiniSearchWindow: a field in the upper third of the screen with the best ten pages below: type,
// choose, gone.
//
// Threads: main.
#pragma once

#include <QWidget>

#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/ResultView.h"
#include "ui/search/SearchField.h"

namespace siftwell {

class MiniSearchWindow : public QWidget {
    Q_OBJECT

public:
    static constexpr std::size_t kMostRows = 10;

    // Borrowed; both outlive the window.
    MiniSearchWindow(const Program& program, ActiveSearch& search);

    void bringUp();

    SearchField& field() { return *m_field; }
    ResultView& list() { return *m_list; }

Q_SIGNALS:
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void connectSearch();
    void showList();
    void hideList();
    void moveSelection(int by);
    void enter();
    void openSelection();

    const Program m_program;
    ActiveSearch& m_search;
    ResultModel m_best{kMostRows};
    SearchField* m_field;
    ResultView* m_list;
};

}  // namespace siftwell
