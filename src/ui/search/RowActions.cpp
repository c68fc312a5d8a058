#include "ui/search/RowActions.h"

#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/search/FilterSheet.h"
#include "ui/search/GlyphIcon.h"

namespace siftwell {

namespace {

QIcon icon(const char* name, Glyph otherwise) {
    return QIcon::fromTheme(QString::fromLatin1(name), glyphIcon(otherwise));
}

}  // namespace

RowActions::RowActions(const Program& program, ActiveSearch& search, ResultView& view,
                       QObject* parent)
    : QObject(parent),
      open(new QAction(q_("&Open in Browser"), this)),
      copy(new QAction(q_("&Copy Address"), this)),
      preview(new QAction(q_("&Preview"), this)),
      moreFromSite(new QAction(q_("&More From This Site"), this)),
      remove(new QAction(q_("&Remove from Index"), this)),
      addFilter(new QAction(q_("Add &Filter…"), this)),
      neverIndexSite(new QAction(q_("&Never Index This Site…"), this)),
      m_program(program),
      m_search(search),
      m_view(view) {
    const auto setUp = [this](QAction* action, const QList<QKeySequence>& keys,
                              void (RowActions::*act)()) {
        action->setShortcuts(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
        m_view.addAction(action);
        connect(action, &QAction::triggered, this, act);
    };
    const auto key = [](const char* text) { return QKeySequence(QString::fromLatin1(text)); };
    setUp(open, {key("Return"), key("Enter"), key("Ctrl+O")}, &RowActions::openSelection);
    setUp(copy, {QKeySequence(QKeySequence::Copy)}, &RowActions::copySelection);
    setUp(preview, {key("Space")}, &RowActions::togglePreview);
    setUp(moreFromSite, {key("Ctrl+Shift+M")}, &RowActions::searchSiteOfSelection);
    setUp(remove, {key("Del")}, &RowActions::removeSelection);
    setUp(addFilter, {key("Ctrl+I")}, &RowActions::addFilterForSelection);
    setUp(neverIndexSite, {key("Ctrl+Shift+N")}, &RowActions::neverIndexSiteOfSelection);
    for (QAction* action : {moreFromSite, addFilter, neverIndexSite}) {
        action->setShortcutContext(Qt::WindowShortcut);
    }
    open->setIcon(icon("document-open", Glyph::Open));
    copy->setIcon(icon("edit-copy", Glyph::Copy));
    preview->setIcon(icon("view-preview", Glyph::Preview));
    remove->setIcon(icon("edit-delete", Glyph::Remove));
    addFilter->setIcon(icon("view-filter", Glyph::Filter));
}

const FoundRow* RowActions::selection() const {
    const int row = m_view.selectedRow();
    return row < 0 ? nullptr : &m_search.results().rowAt(row);
}

QString RowActions::hostOfSelection() const {
    const FoundRow* row = selection();
    const auto url = row == nullptr ? std::nullopt : Url::parse(row->url);
    return url ? toQString(url->host().value_or("")) : QString();
}

void RowActions::openSelection() {
    const FoundRow* row = selection();
    if (row == nullptr) return;
    Q_EMIT rowTaken();
    if (!openInBrowser(*row, m_program.desktop)) {
        sayNothingOpens(m_program.alerts, std::string(row->url));  // the row may go meanwhile
    }
}

void RowActions::openAddress(const QString& address) {
    Q_EMIT rowTaken();
    const auto url = Url::parse(address.toStdString());
    if (!url || !m_program.desktop.open(*url)) {
        sayNothingOpens(m_program.alerts, address.toStdString());
    }
}

void RowActions::copySelection() {
    const FoundRow* row = selection();
    if (row == nullptr) return;
    Q_EMIT rowTaken();
    copyURL(*row, m_program.desktop);
}

void RowActions::removeSelection() {
    const FoundRow* row = selection();
    if (row == nullptr) return;
    m_program.driver.removePages({row->url});
    Q_EMIT rowRemoved(toQString(row->url));
    const int position = m_view.selectedRow();
    m_search.results().removeAt(position);
    m_view.selectRowAt(position);
}

void RowActions::addFilterForSelection() {
    const FoundRow* row = selection();
    if (row == nullptr) return;
    (new FilterSheet(m_program, toQString(proposedFilter(*row)), m_view.window()))->open();
}

void RowActions::neverIndexSiteOfSelection() {
    const QString host = hostOfSelection();
    if (host.isEmpty()) return;
    (new FilterSheet(m_program, host, m_view.window()))->open();
}

void RowActions::searchSiteOfSelection() {
    const QString host = hostOfSelection();
    if (!host.isEmpty()) Q_EMIT siteWanted(host);
}

}  // namespace siftwell
