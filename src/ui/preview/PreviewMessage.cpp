#include "ui/preview/PreviewMessage.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Text.h"

namespace siftwell {

namespace {

QLabel* addLine(QVBoxLayout& layout) {
    auto* const line = new QLabel;
    line->setTextFormat(Qt::PlainText);
    line->setAlignment(Qt::AlignCenter);
    line->setWordWrap(true);
    layout.addWidget(line);
    return line;
}

}  // namespace

PreviewMessage::PreviewMessage(QWidget* parent) : QWidget(parent) {
    auto* const layout = new QVBoxLayout(this);
    layout->addStretch(2);
    QLabel* const title = addLine(*layout);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.25);
    title->setFont(font);
    title->setText(q_("This page cannot be shown here"));
    m_reason = addLine(*layout);
    layout->addSpacing(8);
    auto* const open = new QPushButton(q_("Open in Browser"));
    open->setAccessibleDescription(title->text());
    layout->addWidget(open, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    connect(open, &QPushButton::clicked, this, &PreviewMessage::openRequested);
}

void PreviewMessage::setReason(const QString& why) {
    m_reason->setText(why);
    m_reason->setVisible(!why.isEmpty());
}

QString PreviewMessage::reason() const { return m_reason->text(); }

}  // namespace siftwell
