#include "ui/preview/FindBar.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

#include "ui/Text.h"

namespace siftwell {

namespace {

QToolButton* addButton(QWidget& bar, const QString& name, const char* icon,
                       QStyle::StandardPixmap fallback, const QString& key) {
    auto* const button = new QToolButton(&bar);
    button->setAutoRaise(true);
    button->setIcon(
        QIcon::fromTheme(QString::fromLatin1(icon), bar.style()->standardIcon(fallback)));
    button->setAccessibleName(name);
    button->setToolTip(QStringLiteral("%1 (%2)").arg(name, key));
    bar.layout()->addWidget(button);
    return button;
}

QString keyText(const QKeySequence& key) { return key.toString(QKeySequence::NativeText); }

}  // namespace

FindBar::FindBar(QWidget* parent)
    : QWidget(parent), m_field(new QLineEdit(this)), m_count(new QLabel(this)) {
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 8);
    m_field->setPlaceholderText(q_("Find in page"));
    m_field->setAccessibleName(q_("Find in page"));
    m_field->setClearButtonEnabled(true);
    m_field->setMaximumWidth(fontMetrics().averageCharWidth() * 40);
    layout->addWidget(m_field, 1);
    auto* const previous = addButton(*this, q_("Previous"), "go-up", QStyle::SP_ArrowUp,
                                     keyText(Qt::SHIFT | Qt::Key_F3));
    auto* const next =
        addButton(*this, q_("Next"), "go-down", QStyle::SP_ArrowDown, keyText(Qt::Key_F3));
    layout->addWidget(m_count);
    layout->addStretch(1);
    auto* const close = addButton(*this, q_("Close"), "window-close",
                                  QStyle::SP_TitleBarCloseButton, keyText(Qt::Key_Escape));
    connect(m_field, &QLineEdit::textChanged, this, [this] { find(false); });
    connect(previous, &QToolButton::clicked, this, [this] { find(true); });
    connect(next, &QToolButton::clicked, this, [this] { find(false); });
    connect(close, &QToolButton::clicked, this, &FindBar::end);
    setFocusProxy(m_field);
}

QString FindBar::text() const { return m_field->text(); }

void FindBar::begin() {
    show();
    m_field->setFocus(Qt::ShortcutFocusReason);
    m_field->selectAll();
}

void FindBar::setFound(int active, int total) {
    if (text().isEmpty()) return m_count->clear();
    m_count->setText(total == 0
                         ? q_("Not found")
                         : q_("%1 of %2").arg(locale().toString(active), locale().toString(total)));
}

void FindBar::forget() { m_count->clear(); }

void FindBar::end() {
    hide();
    Q_EMIT closed();
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    const bool isShifted = event->modifiers().testFlag(Qt::ShiftModifier);
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_F3:
            return find(isShifted);
        case Qt::Key_Escape:
            return end();
        default:
            QWidget::keyPressEvent(event);
    }
}

}  // namespace siftwell
