// WeekChart: how many pages there are of each of the last weeks, as bars.
//
// Threads: main.
#pragma once

#include <QDate>
#include <QWidget>

#include "ui/status/DocumentRow.h"

namespace siftwell {

class WeekChart : public QWidget {
    Q_OBJECT

public:
    using Weeks = std::array<std::uint32_t, kWeeks>;  // the present one first

    explicit WeekChart(QWidget* parent = nullptr);

    void setWeeks(const Weeks& weeks);
    // Monday of the present week.
    static QDate startOfWeek();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QRect barOf(std::size_t week) const;
    QRect chart() const;  // without the caption
    std::uint32_t most() const;
    QString textOf(std::size_t week) const;

    Weeks m_weeks{};
};

}  // namespace siftwell
