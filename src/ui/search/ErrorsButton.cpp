#include "ui/search/ErrorsButton.h"

#include <QStyle>

#include "ui/Text.h"

namespace siftwell {

ErrorsButton::ErrorsButton(NotificationCentre& centre, Commands& commands, QWidget* parent)
    : QToolButton(parent) {
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setIcon(style()->standardIcon(QStyle::SP_MessageBoxWarning));
    setToolTip(q_("Show what went wrong"));
    hide();
    m_errors = centre.observe("SiftwellErrorNotification", [this](const PropertyList&) {
        setText(counted(N_("%@ error"), N_("%@ errors"), ++m_count));
        show();
    });
    m_looks =
        centre.observe("SiftwellErrorsSeenNotification", [this](const PropertyList&) { forget(); });
    connect(this, &QToolButton::clicked, this, [this, &commands] {
        forget();
        commands.showErrors();
    });
}

void ErrorsButton::forget() {
    m_count = 0;
    hide();
}

}  // namespace siftwell
