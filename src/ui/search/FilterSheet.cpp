#include "ui/search/FilterSheet.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/maintenance/FilterPassQuestion.h"

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
    explain(status, m_program.alerts, _("The filter could not be applied."));
    if (!status.isOk() || !m_program.session.preferences().takeFiltersChanged()) return;
    if (isFilterPassWanted(m_program.alerts)) m_program.commands.applyFilters(parentWidget());
}

}  // namespace siftwell
