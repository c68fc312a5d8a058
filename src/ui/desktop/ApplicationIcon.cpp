#include "ui/desktop/ApplicationIcon.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

// The resource lies in a library, from which nothing else would bring it in.
static void bringInIcons() { Q_INIT_RESOURCE(icons); }

namespace siftwell {

QIcon applicationIcon() {
    bringInIcons();
    return QIcon::fromTheme(QStringLiteral("siftwell"),
                            QIcon(QStringLiteral(":/siftwell/icons/siftwell.svg")));
}

QIcon busyApplicationIcon() {
    const QIcon plain = applicationIcon();
    QIcon busy;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap picture = plain.pixmap(QSize(size, size));
        const qreal whole = picture.width();
        const qreal dot = whole * 0.4;
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(
            QPen(QGuiApplication::palette().color(QPalette::HighlightedText), whole / 16));
        painter.setBrush(QGuiApplication::palette().color(QPalette::Highlight));
        const qreal at = whole - dot - whole / 16;
        painter.drawEllipse(QRectF(at, at, dot, dot));
        painter.end();
        busy.addPixmap(picture);
    }
    return busy;
}

}  // namespace siftwell
