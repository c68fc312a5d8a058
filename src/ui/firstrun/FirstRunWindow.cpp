#include "ui/firstrun/FirstRunWindow.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLocale>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "app/SourcePages.h"
#include "base/Files.h"
#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/add/AddItemDialog.h"

namespace siftwell {

namespace {

using State = BrowserItem::State;
using Kind = BrowserSource::Kind;

enum Column { NameColumn, PagesColumn };

QString wordFor(Kind kind) {
    switch (kind) {
        case Kind::Cache:
            return q_("Cache");
        case Kind::History:
            return q_("History");
        case Kind::Bookmarks:
            break;
    }
    return q_("Bookmarks");
}

QString titleOf(const BrowserProfile& profile) {
    QString title = toQString(browserName(profile));
    if (!profile.name.empty()) title += QStringLiteral(" · ") + toQString(profile.name);
    return title;
}

// Sources that are on, as far as what they read is on this computer.
std::vector<SearchItem> onOnThisComputer(std::vector<SearchItem> items) {
    std::erase_if(items, [](const SearchItem& item) {
        return !item.Index || !fileInfo(expandingTilde(item.Path));
    });
    return items;
}

std::vector<SearchItem> withoutThoseOf(const std::vector<BrowserItems>& browsers,
                                       std::vector<SearchItem> items) {
    for (const BrowserItems& browser : browsers) {
        for (const BrowserItem& each : browser.items) {
            std::erase_if(items,
                          [&](const SearchItem& item) { return item.isSameItemAs(each.item); });
        }
    }
    return items;
}

}  // namespace

FirstRunWindow::FirstRunWindow(const Program& program, QWidget* parent)
    : QDialog(parent),
      m_program(program),
      m_isFirstStart(!program.session.settings().boolean("FirstRunExplanationShown")),
      m_thread(program.session.mainLoop(), "browsers") {
    setWindowTitle(q_("Welcome to Siftwell"));
    setModal(true);
    arrange();
    look();
}

// ---- What stands in it

void FirstRunWindow::arrange() {
    m_list->setAccessibleName(q_("Browsers on this computer"));
    m_list->setHeaderLabels({q_("Read these"), q_("Pages")});
    m_list->setUniformRowHeights(true);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(PagesColumn, QHeaderView::ResizeToContents);
    m_list->headerItem()->setTextAlignment(PagesColumn, Qt::AlignTrailing | Qt::AlignVCenter);
    m_list->hide();
    m_state->setWordWrap(true);
    m_state->setText(q_("Looking for browsers…"));
    auto* const all = new QVBoxLayout(this);
    all->addWidget(makeExplanation());
    all->addWidget(m_state);
    all->addWidget(m_list, 1);
    all->addStretch(0);
    all->addWidget(makeFoot());
    resize(76 * fontMetrics().averageCharWidth(), 30 * fontMetrics().height());
}

QWidget* FirstRunWindow::makeExplanation() {
    auto* const text = new QLabel(this);
    text->setWordWrap(true);
    text->setTextFormat(Qt::RichText);
    text->setText(
        QStringLiteral("<h2>%1</h2><p>%2</p><p>%3</p><p>%4</p>")
            .arg(q_("Find the pages you saw by the words on them").toHtmlEscaped(),
                 q_("Siftwell reads the histories, bookmarks and caches that you tick below, and "
                    "keeps the words of those pages on this computer.")
                     .toHtmlEscaped(),
                 q_("Nothing of it is sent to anybody: a page that is in no cache is fetched from "
                    "its own site, as your browser did.")
                     .toHtmlEscaped(),
                 q_("Your browsers' files are never changed, and you can remove any page or stop "
                    "at any time.")
                     .toHtmlEscaped()));
    return text;
}

QWidget* FirstRunWindow::makeFoot() {
    auto* const buttons = new QDialogButtonBox(this);
    QPushButton* const folder =
        buttons->addButton(q_("Add a &folder…"), QDialogButtonBox::ActionRole);
    folder->setAutoDefault(false);
    connect(folder, &QPushButton::clicked, this, [this] { addFolder(); });
    m_start = buttons->addButton(q_("&Start"), QDialogButtonBox::AcceptRole);
    m_start->setDefault(true);
    QPushButton* const without = buttons->addButton(q_("&Not now"), QDialogButtonBox::RejectRole);
    without->setToolTip(q_("Starts without changing the sources."));
    connect(buttons, &QDialogButtonBox::accepted, this, &FirstRunWindow::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    return buttons;
}

// The first scan reads it: one that began now would read sources that are still to be picked.
void FirstRunWindow::addFolder() {
    auto* const dialog = new AddItemDialog(m_program, {}, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (m_isFirstStart) dialog->leaveToNextScan();
    dialog->open();
}

// ---- What there is

void FirstRunWindow::look() {
    m_start->setEnabled(false);
    m_thread.run([this, paths = m_program.session.paths(),
                  items = searchItemsIn(m_program.session.settings().array("SearchItems"))](
                     const std::stop_token&) {
        return [this, browsers = browserItems(items, paths), others = onOnThisComputer(items)] {
            take(browsers, others);
        };
    });
}

void FirstRunWindow::take(const std::vector<BrowserItems>& browsers,
                          const std::vector<SearchItem>& others) {
    for (const BrowserItems& browser : browsers) addBrowser(browser);
    const bool isAnyFound = !m_lines.empty();
    addOthers(withoutThoseOf(browsers, others));
    m_state->setText(isAnyFound ? q_("These browsers are on this computer:")
                                : q_("No browser was found on this computer. You can add a folder "
                                     "with pages now, and look for browsers again at any time."));
    m_list->setVisible(!m_lines.empty());
    m_list->expandAll();
    m_start->setEnabled(true);
    m_start->setFocus();
    countPages();
}

void FirstRunWindow::addBrowser(const BrowserItems& browser) {
    auto* const group = new QTreeWidgetItem(m_list, {titleOf(browser.profile)});
    // The group's box ticks and clears all of its lines.
    group->setFlags(group->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate);
    for (std::size_t i = 0; i < browser.items.size(); ++i) {
        addLine(group, browser.items[i], wordFor(browser.profile.sources[i].kind));
    }
}

void FirstRunWindow::addOthers(const std::vector<SearchItem>& others) {
    if (others.empty()) return;
    auto* const group = new QTreeWidgetItem(m_list, {q_("Other sources")});
    group->setFlags(group->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate);
    for (const SearchItem& item : others) {
        addLine(group, {.item = item, .state = State::On}, toQString(item.Name));
    }
}

void FirstRunWindow::addLine(QTreeWidgetItem* group, const BrowserItem& item, const QString& name) {
    auto* const line = new QTreeWidgetItem(group, {name, QStringLiteral("…")});
    line->setFlags(line->flags() | Qt::ItemIsUserCheckable);
    const bool isRefused = item.state == State::Off && !m_isFirstStart;
    line->setCheckState(NameColumn, isRefused ? Qt::Unchecked : Qt::Checked);
    line->setToolTip(NameColumn, toQString(item.item.Path));
    line->setTextAlignment(PagesColumn, Qt::AlignTrailing | Qt::AlignVCenter);
    m_lines.push_back({line, item});
}

void FirstRunWindow::countPages() {
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
        m_thread.run([this, i, item = m_lines[i].item.item](const std::stop_token& stop) {
            return
                [this, i, count = pagesOfSource(item, stop)] { showCount(i, count.value_or(-1)); };
        });
    }
}

void FirstRunWindow::showCount(std::size_t line, std::int64_t count) {
    QTreeWidgetItem& shown = *m_lines[line].line;
    shown.setText(PagesColumn,
                  count < 0 ? QString() : QLocale().toString(static_cast<qlonglong>(count)));
}

// ---- What is picked

void FirstRunWindow::accept() {
    std::vector<SearchItem> picked;
    std::set<std::string> dropped;
    for (const Line& each : m_lines) {
        SearchItem item = each.item.item;
        const bool isTicked = each.line->checkState(NameColumn) == Qt::Checked;
        if (isTicked && each.item.state != State::On) {
            item.Index = true;
            picked.push_back(std::move(item));
        } else if (!isTicked && each.item.state == State::On) {
            dropped.insert(item.Name);
        }
    }
    Status status = picked.empty() ? Status() : m_program.driver.addMissingItems(picked);
    for (const std::string& name : dropped) {
        if (status.isOk()) status = m_program.driver.setSearchItemValue(name, "Index", false);
    }
    if (status.isOk()) return QDialog::accept();
    explain(status, m_program.alerts, _("The sources could not be stored."));
}

}  // namespace siftwell
