#include "ui/preferences/HotkeyCapture.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPainter>
#include <QStyleOptionFrame>
#include <QVBoxLayout>

#include "ui/Text.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

HotkeyView::HotkeyView(const HotKey& key) : m_key(key) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(q_("New hot key"));
    setAccessibleDescription(siftwell::textOf(m_key));
}

QSize HotkeyView::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 36, fontMetrics().height() * 3};
}

// Before anything else takes the keys for a shortcut of the window.
bool HotkeyView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* press = dynamic_cast<QKeyEvent*>(event);
        if (press != nullptr && hotKeyOf(*press)) {
            event->accept();
            return true;
        }
    }
    // Tab with Control leaves the view otherwise.
    if (event->type() == QEvent::KeyPress) {
        auto* press = dynamic_cast<QKeyEvent*>(event);
        if (press != nullptr && hotKeyOf(*press)) {
            keyPressEvent(press);
            return true;
        }
    }
    return QWidget::event(event);
}

void HotkeyView::keyPressEvent(QKeyEvent* event) {
    const auto caughtKey = hotKeyOf(*event);
    if (!caughtKey) return QWidget::keyPressEvent(event);
    m_key = *caughtKey;
    setAccessibleDescription(siftwell::textOf(m_key));
    update();
    Q_EMIT caught();
}

void HotkeyView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QStyleOptionFrame frame;
    frame.initFrom(this);
    frame.lineWidth = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &frame, this);
    frame.state |= QStyle::State_Sunken;
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &frame, &painter, this);
    QFont font = painter.font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    painter.setFont(font);
    const bool isNone = m_key.isNone();
    painter.setPen(palette().color(isNone ? QPalette::PlaceholderText : QPalette::Text));
    painter.drawText(rect(), Qt::AlignCenter, isNone ? q_("Press a key") : siftwell::textOf(m_key));
}

HotkeyCapture::HotkeyCapture(const HotKey& key, QWidget* parent)
    : QDialog(parent), m_view(new HotkeyView(key)) {
    setWindowTitle(q_("Hot Key"));
    setWindowModality(Qt::WindowModal);
    auto* buttons = new QDialogButtonBox;
    auto* accept = buttons->addButton(q_("&Use This Key"), QDialogButtonBox::AcceptRole);
    auto* clear = buttons->addButton(q_("&No Hot Key"), QDialogButtonBox::DestructiveRole);
    auto* cancel = buttons->addButton(q_("Cancel"), QDialogButtonBox::RejectRole);
    accept->setDefault(true);
    for (QPushButton* each : {clear, cancel}) each->setAutoDefault(false);
    const auto answer = [this](HotkeyAnswer what) {
        return [this, what] { Q_EMIT answered(what); };
    };
    connect(accept, &QPushButton::clicked, this, answer(HotkeyAnswer::Accept));
    connect(clear, &QPushButton::clicked, this, answer(HotkeyAnswer::Clear));
    connect(cancel, &QPushButton::clicked, this, answer(HotkeyAnswer::Cancel));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(q_("Press the keys that are to bring up Siftwell.")));
    layout->addWidget(m_view);
    layout->addWidget(
        explanation(q_("A key together with Super, Ctrl or Alt, or one of the keys F1 to F16.")));
    layout->addWidget(buttons);
    m_view->setFocus();
}

}  // namespace siftwell
