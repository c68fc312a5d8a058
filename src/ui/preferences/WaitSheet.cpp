#include "ui/preferences/WaitSheet.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::chrono::minutes kPatience(2);
constexpr int kLettersPerLine = 46;

}  // namespace

WaitSheet::WaitSheet(Driver& driver, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint),
      m_driver(driver),
      m_text(new QLabel),
      m_bar(new QProgressBar) {
    setWindowModality(Qt::WindowModal);
    m_text->setWordWrap(true);
    m_text->setMinimumWidth(kLettersPerLine * fontMetrics().averageCharWidth());
    m_bar->setRange(0, 0);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(q_("Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    layout->addWidget(m_bar);
    layout->addWidget(buttons);
}

void WaitSheet::showState(std::chrono::milliseconds waited) {
    const auto maintenance = m_driver.maintenanceState();
    QString text = maintenance && maintenance->isRunning
                       ? q_("Waiting until the work on the index has finished…")
                       : q_("Waiting for the scan to end…");
    m_bar->setAccessibleName(text);
    if (waited >= kPatience) {
        text += QStringLiteral("\n\n") +
                q_("This takes unusually long. You can go on waiting, or cancel and open the "
                   "preferences again later.");
    }
    if (text == m_text->text()) return;
    m_text->setText(text);
    adjustSize();
}

}  // namespace siftwell
