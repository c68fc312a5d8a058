// EmptyPage: what stands where no rows are: what to do, or why there are none and how to change it.
//
// Threads: main.
#pragma once

#include <QBoxLayout>
#include <QLabel>
#include <QTimer>
#include <QWidget>

#include "ui/Program.h"
#include "ui/search/ActiveSearch.h"

namespace siftwell {

class EmptyPage : public QWidget {
    Q_OBJECT

public:
    enum class Reason { NothingTyped, NothingFound, NothingIndexed, IndexingOff };

    // Borrowed; outlives the page.
    EmptyPage(const Program& program, ActiveSearch& search, QWidget* parent = nullptr);

    // By what holds now; while the page is in sight it does so from time to time itself.
    void refresh();
    Reason reason() const { return m_reason; }
    QString text() const { return m_title->text() + QLatin1Char('\n') + m_text->text(); }

Q_SIGNALS:
    void limitLifted();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Contents;

    Reason reasonNow() const;
    Contents contentsFor(Reason reason);
    Contents nothingTyped() const;
    Contents nothingFound();
    Contents nothingIndexed() const;
    Contents indexingOff() const;
    bool isAnySourceOn() const;
    void show(const Contents& contents);

    const Program m_program;
    ActiveSearch& m_search;
    Reason m_reason = Reason::NothingTyped;
    QLabel* m_title;
    QLabel* m_text;
    QBoxLayout* m_buttons;
    QString m_shown;  // tells one contents from the next
    QTimer m_refresh;
};

}  // namespace siftwell
