#include "ui/search/SearchField.h"

#include <QAction>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QStyle>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kRest(150);

}  // namespace

SearchField::SearchField(const Settings& settings, QMenu* recent, QWidget* parent)
    : QLineEdit(parent), m_settings(settings), m_recent(recent) {
    setAccessibleName(q_("Words to look for"));
    setClearButtonEnabled(true);
    setMaxLength(2000);
    const QIcon search = QIcon::fromTheme(QStringLiteral("edit-find"));
    if (!search.isNull()) addAction(search, LeadingPosition);
    if (m_recent != nullptr) {
        const QIcon arrow = QIcon::fromTheme(QStringLiteral("go-down"),
                                             style()->standardIcon(QStyle::SP_ArrowDown));
        QAction* drop = addAction(arrow, TrailingPosition);
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
