#include "ui/QtAlerts.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include "ui/Text.h"

namespace siftwell {

std::size_t QtAlerts::ask(const Alert& alert, std::size_t safeAnswer) {
    // Its parent may go while it waits, and takes it along.
    const QPointer<QMessageBox> alive = new QMessageBox(QApplication::activeWindow());
    QMessageBox& box = *alive;
    box.setWindowTitle(QApplication::applicationDisplayName());
    box.setIcon(alert.isCritical ? QMessageBox::Critical : QMessageBox::Question);
    box.setTextFormat(Qt::PlainText);
    box.setText(toQString(alert.title));
    box.setInformativeText(toQString(alert.text).replace(QChar::CarriageReturn, QChar::LineFeed));
    std::vector<QPushButton*> buttons;
    for (const std::string& title : alert.buttons) {
        buttons.push_back(box.addButton(
            toQString(title), buttons.empty() ? QMessageBox::AcceptRole : QMessageBox::ActionRole));
    }
    if (!buttons.empty()) box.setDefaultButton(buttons.front());
    if (safeAnswer < buttons.size()) box.setEscapeButton(buttons[safeAnswer]);
    box.exec();
    if (alive == nullptr) return safeAnswer;
    const auto chosen = std::find(buttons.begin(), buttons.end(), box.clickedButton());
    delete alive;
    return chosen == buttons.end() ? safeAnswer
                                   : static_cast<std::size_t>(chosen - buttons.begin());
}

}  // namespace siftwell
