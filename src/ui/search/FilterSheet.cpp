#include "ui/search/FilterSheet.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Text.h"

namespace siftwell {

FilterSheet::FilterSheet(const Program& program, const QString& proposal, QWidget* parent)
    : QDialog(parent), m_program(program), m_text(new QLineEdit(proposal)) {
    setWindowTitle(q_("Add Filter"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(q_("&Addresses with this text are not indexed:"));
    label->setBuddy(m_text);
    layout->addWidget(label);
    layout->addWidget(m_text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(q_("&Add"));
    layout->addWidget(buttons);
    m_text->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    m_text->selectAll();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void FilterSheet::accept() {
    const std::string text = m_text->text().toStdString();
    QDialog::accept();
    if (text.empty()) return;
    const Status status = m_program.driver.addURLFilter(text);
    if (!status.isOk()) return say(status);
    if (m_program.session.preferences().takeFiltersChanged()) askForFilterPass();
}

void FilterSheet::askForFilterPass() {
    const auto answer = m_program.alerts.ask(
        {.title = _("You have added new filtering strings to keep Siftwell from indexing certain "
                    "URL's."),
         .text = _("Would you like to check the documents already in your search index and remove "
                   "pages that have URL's that match your filtering strings?\r\rDepending upon the "
                   "number of pages in your search index, this could take several minutes."),
         .buttons = {_("Yes"), _("No")}},
        1);
    if (answer != 0) return;
    const Status status = m_program.driver.applyFilters();
    if (!status.isOk()) say(status);
}

void FilterSheet::say(const Status& status) {
    m_program.alerts.ask({.title = _("The filter could not be applied."),
                          .text = status.message(),
                          .buttons = {_("OK")}},
                         0);
}

}  // namespace siftwell
