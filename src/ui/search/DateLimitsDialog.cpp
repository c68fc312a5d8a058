#include "ui/search/DateLimitsDialog.h"

#include <QComboBox>
#include <QDateEdit>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>

#include "ui/Dates.h"
#include "ui/Text.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

namespace {

QDate dayOf(const std::optional<Date>& date) {
    return date ? toLocal(*date).date() : QDate::currentDate();
}

QDateEdit* dayField(const QString& name) {
    auto* field = new QDateEdit;
    field->setCalendarPopup(true);
    field->setAccessibleName(name);
    return field;
}

}  // namespace

DateLimitsDialog::DateLimitsDialog(Settings& settings, QWidget* parent)
    : QDialog(parent),
      m_settings(settings),
      m_isRecent(new QRadioButton(q_("Pages of the &last"))),
      m_count(new QSpinBox),
      m_unit(new QComboBox),
      m_isBetween(new QRadioButton(q_("Pages &from"))),
      m_first(dayField(q_("First day"))),
      m_last(dayField(q_("Last day"))) {
    setWindowTitle(q_("Dates"));
    m_count->setRange(1, 9999);
    m_count->setAccessibleName(q_("How many"));
    m_unit->setAccessibleName(q_("Unit of time"));
    m_unit->addItem(q_("hours"), 60);
    m_unit->addItem(q_("days"), 1440);
    m_unit->addItem(q_("weeks"), 10080);
    m_unit->addItem(q_("months"), 43200);
    m_unit->addItem(q_("years"), 525600);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* grid = new QGridLayout(this);
    grid->addWidget(m_isRecent, 0, 0);
    grid->addWidget(m_count, 0, 1);
    grid->addWidget(m_unit, 0, 2, 1, 2);
    grid->addWidget(m_isBetween, 1, 0);
    grid->addWidget(m_first, 1, 1);
    auto* until = new QLabel(q_("&to"));
    until->setBuddy(m_last);
    grid->addWidget(until, 1, 2);
    grid->addWidget(m_last, 1, 3);
    grid->addWidget(buttons, 2, 0, 1, 4);
    fill();
}

// What is changed is what is meant.
void DateLimitsDialog::fill() {
    m_count->setValue(static_cast<int>(m_settings.integer("constraintTime")));
    const auto minutes = static_cast<int>(m_settings.integer("constraintTimeUnits"));
    m_unit->setCurrentIndex(std::max(0, m_unit->findData(minutes)));
    m_first->setDate(dayOf(m_settings.date("constraintDate1")));
    m_last->setDate(dayOf(m_settings.date("constraintDate2")));
    (m_settings.integer("constrainDate") == 2 ? m_isBetween : m_isRecent)->setChecked(true);
    const auto choose = [](QRadioButton* button) { return [button] { button->setChecked(true); }; };
    connect(m_count, &QSpinBox::valueChanged, this, choose(m_isRecent));
    connect(m_unit, &QComboBox::activated, this, choose(m_isRecent));
    connect(m_first, &QDateEdit::dateChanged, this, choose(m_isBetween));
    connect(m_last, &QDateEdit::dateChanged, this, choose(m_isBetween));
}

void DateLimitsDialog::accept() {
    if (m_isRecent->isChecked()) {
        limitToRecent(m_settings, m_count->value(), m_unit->currentData().toInt());
    } else {
        limitToDays(m_settings, m_first->date(), m_last->date());
    }
    QDialog::accept();
}

}  // namespace siftwell
