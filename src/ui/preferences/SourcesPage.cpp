#include "ui/preferences/SourcesPage.h"

#include <QGridLayout>
#include <QItemSelectionModel>
#include <QShortcut>
#include <algorithm>

#include "ui/Text.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

SourcesPage::SourcesPage(const Program& program, PrefsEdits& edits)
    : m_program(program),
      m_edits(edits),
      m_model(edits),
      m_sorted(m_model),
      m_list(new QListView),
      m_details(new SourceDetails(m_model)),
      m_add(new QPushButton(q_("&Add"))),
      m_remove(new QPushButton(q_("Re&move"))),
      m_findBrowsers(new QPushButton(q_("Find Bro&wsers…"))),
      m_note(explanation({})),
      m_thread(program.session.mainLoop(), "browsers") {
    m_list->setObjectName(QStringLiteral("sources"));
    m_list->setModel(&m_sorted);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int letter = fontMetrics().height();
    m_list->setIconSize({letter, letter});
    m_list->setAccessibleName(q_("Sources"));
    m_remove->setToolTip(
        q_("Sources that Siftwell brings along can be switched off, not removed."));
    m_findBrowsers->setToolTip(q_("Looks for the browsers of this computer and their profiles."));
    layOut();
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { selectionChanged(); });
    connect(m_add, &QPushButton::clicked, this, [this] { add(); });
    connect(m_remove, &QPushButton::clicked, this, [this] { remove(); });
    connect(m_findBrowsers, &QPushButton::clicked, this, [this] { findBrowsers(); });
    auto* key = new QShortcut(QKeySequence(Qt::Key_Delete), m_list);
    key->setContext(Qt::WidgetShortcut);
    connect(key, &QShortcut::activated, this, [this] { remove(); });
    selectionChanged();
}

void SourcesPage::layOut() {
    m_list->setMinimumWidth(fontMetrics().averageCharWidth() * 24);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(fontMetrics().averageCharWidth());
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    auto* layout = new QGridLayout(this);
    layout->addWidget(m_list, 0, 0);
    layout->addWidget(m_details, 0, 1, Qt::AlignTop);
    layout->addLayout(buttons, 1, 0);
    layout->addWidget(m_findBrowsers, 1, 1, Qt::AlignLeading);
    layout->addWidget(m_note, 2, 0, 1, 2);
    layout->setColumnStretch(0, 2);
    layout->setColumnStretch(1, 3);
    layout->setHorizontalSpacing(2 * fontMetrics().averageCharWidth());
}

void SourcesPage::load() {
    m_details->showItems({});
    m_model.reload();
    m_note->setText({});
    m_note->hide();
    m_list->setCurrentIndex(m_sorted.index(0, 0));
    selectionChanged();
}

std::vector<EditedItem*> SourcesPage::selected() const {
    std::vector<EditedItem*> items;
    for (const QModelIndex& each : m_list->selectionModel()->selectedIndexes()) {
        items.push_back(&m_model.itemAt(m_sorted.mapToSource(each)));
    }
    return items;
}

void SourcesPage::selectionChanged() {
    const std::vector<EditedItem*> items = selected();
    m_details->showItems(items);
    m_remove->setEnabled(!items.empty() &&
                         std::all_of(items.begin(), items.end(), [](const EditedItem* each) {
                             return SourceListModel::isRemovable(each->item);
                         }));
}

void SourcesPage::select(const QModelIndexList& sources) {
    m_list->selectionModel()->clear();
    for (const QModelIndex& each : sources) {
        const QModelIndex at = m_sorted.mapFromSource(each);
        if (&each == &sources.front()) m_list->scrollTo(at);
        m_list->selectionModel()->setCurrentIndex(at, QItemSelectionModel::Select);
    }
}

void SourcesPage::add() {
    EditedItem added;
    added.item = {.Name = _("New Source"),
                  .Index = true,
                  .Search = true,
                  .LastScanDate = Date::distantPast(),
                  .Indexer = "LocalFiles",
                  .UserItem = true};
    select({m_model.add(std::move(added))});
    m_details->editName();
}

void SourcesPage::remove() {
    if (!m_remove->isEnabled()) return;
    const int row = m_list->selectionModel()->selectedIndexes().front().row();
    for (EditedItem* each : selected()) {
        each->isRemoved = true;
        m_model.touch(*each);
    }
    m_sorted.invalidate();
    m_list->setCurrentIndex(m_sorted.index(std::min(row, m_sorted.rowCount() - 1), 0));
}

// ---- Browsers

void SourcesPage::findBrowsers() {
    m_findBrowsers->setEnabled(false);
    std::vector<SearchItem> list;
    for (const EditedItem& each : m_edits.items()) {
        if (!each.isRemoved) list.push_back(each.item);
    }
    m_thread.run(
        [this, list = std::move(list), paths = m_program.session.paths()](const std::stop_token&) {
            return [this, found = browserItems(list, paths)] { offer(found); };
        });
}

void SourcesPage::offer(const std::vector<BrowserItems>& found) {
    m_findBrowsers->setEnabled(true);
    QModelIndexList offered;
    for (const BrowserItems& browser : found) {
        for (const BrowserItem& each : browser.items) {
            if (each.state == BrowserItem::State::New) {
                EditedItem added;
                added.item = each.item;
                added.isOffered = true;
                offered << m_model.add(std::move(added));
                continue;
            }
            if (each.state == BrowserItem::State::On) continue;
            for (const EditedItem& known : m_edits.items()) {
                if (!known.isRemoved && known.item.isSameItemAs(each.item)) {
                    offered << m_model.indexOf(known);
                }
            }
        }
    }
    m_note->show();
    if (offered.isEmpty()) {
        m_note->setText(q_("Every browser that was found is read already."));
        return;
    }
    m_note->setText(counted(N_("%@ source that is not read yet was found and is selected. Switch "
                               "it on if you want its pages to be found."),
                            N_("%@ sources that are not read yet were found and are selected. "
                               "Switch on those whose pages you want to be found."),
                            offered.size()));
    select(offered);
    m_list->setFocus();
}

// ---- Before they are stored

QString SourcesPage::problem() {
    for (const EditedItem& each : m_edits.items()) {
        const bool isStored = !each.isRemoved && (!each.isOffered || each.item.Index);
        const bool isEdited = !each.stored || *each.stored != each.item;
        if (!isStored || !isEdited) continue;
        if (!each.item.Name.empty() && !each.item.Path.empty()) continue;
        select({m_model.indexOf(each)});
        return each.item.Name.empty()
                   ? q_("A source needs a name.")
                   : toQString(filledIn(_("The source \"%@\" needs a path or an address."),
                                        each.item.Name));
    }
    return {};
}

}  // namespace siftwell
