// ErrorsButton: how many errors came since they were last looked at; a click shows them.
//
// Threads: main.
#pragma once

#include <QToolButton>

#include "base/NotificationCentre.h"
#include "ui/Commands.h"

namespace siftwell {

class ErrorsButton : public QToolButton {
    Q_OBJECT

public:
    // Borrowed; both outlive the button.
    ErrorsButton(NotificationCentre& centre, Commands& commands, QWidget* parent = nullptr);

private:
    void forget();

    qint64 m_count = 0;
    NotificationCentre::Observation m_errors;
    NotificationCentre::Observation m_looks;
};

}  // namespace siftwell
