#include "ui/search/SearchField.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QStyleOption>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kRest(150);

// A small arrow in the colour of the text, as menus of the style have it.
QIcon arrowIcon(const QWidget& widget) {
    const int side = widget.fontMetrics().height();
    const qreal ratio = widget.devicePixelRatioF();
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    QStyleOption option;
    option.initFrom(&widget);
    option.rect = QRect(side / 4, side / 4, side / 2, side / 2);
    widget.style()->drawPrimitive(QStyle::PE_IndicatorArrowDown, &option, &painter, &widget);
    return picture;
}

}  // namespace

SearchField::SearchField(const Settings& settings, QMenu* recent, QWidget* parent)
    : QLineEdit(parent), m_settings(settings), m_recent(recent) {
    setAccessibleName(q_("Words to look for"));
    setClearButtonEnabled(true);
    setMaxLength(2000);
    const QIcon search = QIcon::fromTheme(QStringLiteral("edit-find"));
    if (!search.isNull()) addAction(search, LeadingPosition);
    if (m_recent != nullptr) {
        QAction* drop = addAction(arrowIcon(*this), TrailingPosition);
        drop->setText(q_("Recent searches"));
        drop->setToolTip(q_("Recent searches (Alt+Down)"));
        connect(drop, &QAction::triggered, this, [this] { dropMenu(); });
    }
    m_rest.setSingleShot(true);
    m_rest.setInterval(kRest);
    connect(&m_rest, &QTimer::timeout, this, [this] {
        m_isChanged = false;
        Q_EMIT rested();
    });
    connect(this, &QLineEdit::textChanged, this, [this] {
        m_isChanged = true;
        if (m_settings.boolean("LiveSearch")) m_rest.start();
    });
}

void SearchField::showText(const QString& text) {
    setText(text);
    m_rest.stop();
    m_isChanged = false;
}

void SearchField::focusAll() {
    setFocus(Qt::ShortcutFocusReason);
    selectAll();
}

void SearchField::dropMenu() { m_recent->popup(mapToGlobal(QPoint(0, height()))); }

void SearchField::keyPressEvent(QKeyEvent* event) {
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier && m_recent) {
        return dropMenu();
    }
    if (event->key() == Qt::Key_Down && isPlain) return Q_EMIT downPressed();
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && isPlain) {
        m_rest.stop();
        Q_EMIT entered();
        m_isChanged = false;
        return;
    }
    QLineEdit::keyPressEvent(event);
}

// Addresses and files that are dropped are for the window.
void SearchField::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) return event->ignore();
    QLineEdit::dragEnterEvent(event);
}

}  // namespace siftwell
