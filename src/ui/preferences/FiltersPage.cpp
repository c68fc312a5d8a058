#include "ui/preferences/FiltersPage.h"

#include <QGridLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QShortcut>
#include <QSignalBlocker>

#include "ui/Text.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

FiltersPage::FiltersPage(const Program& program, PrefsEdits& edits)
    : m_program(program),
      m_edits(edits),
      m_list(new QListWidget),
      m_text(new QLineEdit),
      m_add(new QPushButton(q_("&Add"))),
      m_remove(new QPushButton(q_("Re&move"))),
      m_reset(new QPushButton(q_("&Default Filters…"))) {
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setAccessibleName(q_("Filters"));
    m_text->setAccessibleName(q_("Text of the filter"));
    layOut();
    connect(m_list, &QListWidget::itemSelectionChanged, this, [this] { selectionChanged(); });
    connect(m_list, &QListWidget::itemChanged, this, [this] { store(); });
    connect(m_text, &QLineEdit::textEdited, this, [this](const QString& text) {
        for (QListWidgetItem* each : m_list->selectedItems()) each->setText(text);
    });
    connect(m_add, &QPushButton::clicked, this, [this] { add(); });
    connect(m_remove, &QPushButton::clicked, this, [this] { remove(); });
    connect(m_reset, &QPushButton::clicked, this, [this] { reset(); });
    auto* key = new QShortcut(QKeySequence(Qt::Key_Delete), m_list);
    key->setContext(Qt::WidgetShortcut);
    connect(key, &QShortcut::activated, this, [this] { remove(); });
}

void FiltersPage::layOut() {
    m_list->setMinimumWidth(fontMetrics().averageCharWidth() * 24);
    auto* label = new QLabel(q_("&Text in the address:"));
    label->setBuddy(m_text);
    auto* details = new QVBoxLayout;
    details->addWidget(label);
    details->addWidget(m_text);
    details->addWidget(explanation(
        q_("A page whose address contains this text is kept out of the index, and nothing is "
           "fetched from there. Capital and small letters are the same.\n\nA filter that is "
           "switched off does nothing.")));
    details->addStretch();
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(fontMetrics().averageCharWidth());
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    auto* layout = new QGridLayout(this);
    layout->addWidget(m_list, 0, 0);
    layout->addLayout(details, 0, 1);
    layout->addLayout(buttons, 1, 0);
    layout->addWidget(m_reset, 1, 1, Qt::AlignLeading);
    layout->setColumnStretch(0, 2);
    layout->setColumnStretch(1, 3);
    layout->setHorizontalSpacing(2 * fontMetrics().averageCharWidth());
}

void FiltersPage::showRow(const URLFilter& filter) {
    auto* item = new QListWidgetItem(toQString(filter.String), m_list);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    item->setCheckState(filter.Enabled ? Qt::Checked : Qt::Unchecked);
}

void FiltersPage::load() {
    {
        const QSignalBlocker silence(m_list);
        m_list->clear();
        for (const URLFilter& each : m_edits.filters()) showRow(each);
    }
    m_list->setCurrentRow(0, QItemSelectionModel::ClearAndSelect);
    selectionChanged();
}

void FiltersPage::store() {
    std::vector<URLFilter>& filters = m_edits.filters();
    filters.clear();
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem* item = m_list->item(row);
        filters.push_back(
            {.Enabled = item->checkState() == Qt::Checked, .String = item->text().toStdString()});
    }
}

void FiltersPage::selectionChanged() {
    const auto selected = m_list->selectedItems();
    m_text->setEnabled(!selected.isEmpty());
    m_remove->setEnabled(!selected.isEmpty());
    m_text->setText(selected.isEmpty() ? QString() : selected.first()->text());
}

void FiltersPage::add() {
    {
        const QSignalBlocker silence(m_list);
        showRow({.Enabled = true, .String = _("match-this-text")});
    }
    store();
    m_list->setCurrentRow(m_list->count() - 1, QItemSelectionModel::ClearAndSelect);
    m_text->setFocus();
    m_text->selectAll();
}

void FiltersPage::remove() {
    const int row = m_list->currentRow();
    qDeleteAll(m_list->selectedItems());
    store();
    m_list->setCurrentRow(std::min(row, m_list->count() - 1), QItemSelectionModel::ClearAndSelect);
    selectionChanged();
}

void FiltersPage::reset() {
    const std::size_t answer = m_program.alerts.ask(
        {.title = _("Do you want to reload Siftwell's default URL filters?"),
         .text = _("You will lose any changes you have made to these settings."),
         .buttons = {_("Yes"), _("No")}},
        1);
    if (answer != 0) return;
    m_edits.resetFilters();
    load();
}

}  // namespace siftwell
