#include "ui/search/GlyphIcon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace siftwell {

namespace {

// On a grid of 16 by 16.
QPainterPath linesOf(Glyph glyph) {
    QPainterPath path;
    const auto line = [&path](std::initializer_list<QPointF> points) {
        path.moveTo(*points.begin());
        for (const QPointF& point : points) path.lineTo(point);
    };
    switch (glyph) {
        case Glyph::Open:  // out of a box
            line({{7, 3}, {3, 3}, {3, 13}, {13, 13}, {13, 9}});
            line({{7, 9}, {13.5, 2.5}});
            line({{9.5, 2.5}, {13.5, 2.5}, {13.5, 6.5}});
            break;
        case Glyph::Copy:  // two sheets
            line({{10, 5}, {10, 2.5}, {2.5, 2.5}, {2.5, 10}, {5, 10}});
            path.addRect(6, 6, 7.5, 7.5);
            break;
        case Glyph::Remove:  // a bin
            line({{2.5, 4}, {13.5, 4}});
            line({{6, 4}, {6, 2.5}, {10, 2.5}, {10, 4}});
            line({{4, 4}, {4.7, 13.5}, {11.3, 13.5}, {12, 4}});
            break;
        case Glyph::Filter:  // a funnel
            line({{2.5, 3}, {13.5, 3}, {9.5, 8}, {9.5, 12}, {6.5, 13.5}, {6.5, 8}, {2.5, 3}});
            break;
        case Glyph::Preview:  // a window with its lower half filled with lines
            path.addRect(2.5, 2.5, 11, 11);
            line({{2.5, 6.5}, {13.5, 6.5}});
            line({{5, 9}, {11, 9}});
            line({{5, 11}, {9, 11}});
            break;
    }
    return path;
}

class GlyphEngine : public QIconEngine {
public:
    explicit GlyphEngine(Glyph glyph) : m_glyph(glyph) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QColor colour = QGuiApplication::palette().color(group, QPalette::ButtonText);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 16.0, rect.height() / 16.0);
        painter->setPen(QPen(colour, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->drawPath(linesOf(m_glyph));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new GlyphEngine(m_glyph); }

private:
    const Glyph m_glyph;
};

}  // namespace

QIcon glyphIcon(Glyph glyph) { return QIcon(new GlyphEngine(glyph)); }

}  // namespace siftwell
