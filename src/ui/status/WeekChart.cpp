#include "ui/status/WeekChart.h"

#include <QHelpEvent>
#include <QLocale>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

#include "ui/Text.h"

namespace siftwell {

WeekChart::WeekChart(QWidget* parent) : QWidget(parent) {
    setAccessibleName(q_("Pages per week"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QDate WeekChart::startOfWeek() {
    const QDate today = QDate::currentDate();
    return today.addDays(1 - today.dayOfWeek());
}

void WeekChart::setWeeks(const Weeks& weeks) {
    if (weeks == m_weeks) return;
    m_weeks = weeks;
    const auto fullest = std::max_element(m_weeks.begin(), m_weeks.end());
    setAccessibleDescription(textOf(0) + u'\n' +
                             textOf(static_cast<std::size_t>(fullest - m_weeks.begin())));
    update();
}

QSize WeekChart::sizeHint() const {
    return {static_cast<int>(kWeeks) * fontMetrics().averageCharWidth(),
            5 * fontMetrics().height()};
}

QSize WeekChart::minimumSizeHint() const {
    return {static_cast<int>(kWeeks) * 3, 4 * fontMetrics().height()};
}

QRect WeekChart::chart() const { return rect().adjusted(0, fontMetrics().height() + 4, 0, 0); }

std::uint32_t WeekChart::most() const { return *std::max_element(m_weeks.begin(), m_weeks.end()); }

// Time runs as the user reads.
QRect WeekChart::barOf(std::size_t week) const {
    const QRect area = chart();
    const int place = static_cast<int>(kWeeks - 1 - week);
    const int count = static_cast<int>(kWeeks);
    const int left = area.width() * place / count;
    const int right = area.width() * (place + 1) / count - (area.width() > 4 * count ? 2 : 1);
    const double part = static_cast<double>(m_weeks[week]) / std::max(most(), 1U);
    // What is there is seen, however little it is.
    const int height =
        m_weeks[week] == 0 ? 1 : std::max(3, static_cast<int>(part * (area.height() - 1)));
    const QRect bar(area.left() + left, area.bottom() + 1 - height, right - left, height);
    return QStyle::visualRect(layoutDirection(), area, bar);
}

QString WeekChart::textOf(std::size_t week) const {
    const QDate monday = startOfWeek().addDays(-7 * static_cast<qint64>(week));
    return toQString(filledIn(_("Week of %@: %@"),
                              QLocale().toString(monday, QLocale::ShortFormat).toStdString(),
                              counted(N_("%@ page"), N_("%@ pages"), m_weeks[week]).toStdString()));
}

void WeekChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    const QRect caption(0, 0, width(), fontMetrics().height());
    const auto aligned = [this](Qt::Alignment side) {
        return static_cast<int>(QStyle::visualAlignment(layoutDirection(), side));
    };
    const QString most =
        toQString(filledIn(_("At most %@"), QLocale().toString(this->most()).toStdString()));
    painter.drawText(
        caption, aligned(Qt::AlignLeft),
        fontMetrics().elidedText(q_("Pages per week, in the last year"), Qt::ElideRight,
                                 width() - 2 * fontMetrics().horizontalAdvance(most)));
    if (this->most() > 0) painter.drawText(caption, aligned(Qt::AlignRight), most);
    for (std::size_t week = 0; week < kWeeks; ++week) {
        painter.fillRect(barOf(week),
                         palette().brush(m_weeks[week] == 0 ? QPalette::Mid : QPalette::Highlight));
    }
}

bool WeekChart::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    const QPoint at = static_cast<QHelpEvent*>(event)->pos();
    for (std::size_t week = 0; week < kWeeks; ++week) {
        QRect column = barOf(week);
        column.setTop(0);
        if (!column.contains(at)) continue;
        QToolTip::showText(mapToGlobal(at), textOf(week), this, column);
        return true;
    }
    QToolTip::hideText();
    return true;
}

}  // namespace siftwell
