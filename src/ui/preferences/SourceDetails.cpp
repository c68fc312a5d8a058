#include "ui/preferences/SourceDetails.h"

#include <QFileDialog>
#include <QFormLayout>
#include <QMenu>
#include <QSignalBlocker>
#include <algorithm>

#include "app/IndexerList.h"
#include "ui/Dates.h"
#include "ui/Text.h"
#include "ui/preferences/SettingControls.h"

namespace siftwell {

namespace {

QString textOf(const std::optional<Date>& date) {
    if (!date || *date <= Date::distantPast()) return q_("never");
    return shortDateTime(*date);
}

}  // namespace

SourceDetails::SourceDetails(SourceListModel& model)
    : m_model(model),
      m_name(new QLineEdit),
      m_path(new QLineEdit),
      m_browse(new QPushButton(q_("&Browse…"))),
      m_kind(new QComboBox),
      m_lastScan(new QLabel),
      m_result(new QLabel),
      m_reset(new QPushButton(q_("Read &Everything Again"))) {
    m_lastScan->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_result->setWordWrap(true);
    m_reset->setToolTip(q_("The next scan reads all of the source, not only what is new."));
    m_kind->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_kind->setMinimumContentsLength(12);
    for (const IndexerChoice& choice : indexerList()) {
        m_kind->addItem(toQString(choice.displayName), toQString(choice.indexer));
    }
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->addRow(q_("&Name:"), m_name);
    form->addRow(q_("Pa&th:"), makePath());
    qobject_cast<QLabel*>(form->labelForField(m_path->parentWidget()))->setBuddy(m_path);
    form->addRow(q_("&Kind:"), m_kind);
    form->addRow(makeSwitch(q_("&Read at each scan"), &SearchItem::Index));
    form->addRow(makeSwitch(q_("Read &once, then no more"), &SearchItem::IndexOnce));
    form->addRow(makeSwitch(q_("Show &its pages in searches"), &SearchItem::Search));
    form->addRow(makeSwitch(q_("&Forget its pages when they are old"), &SearchItem::Expire));
    form->addRow(q_("Last read:"), m_lastScan);
    form->addRow(q_("Result:"), m_result);
    form->addRow(QString(), m_reset);
    m_name->setAccessibleName(q_("Name of the source"));
    m_path->setAccessibleName(q_("Path or address of the source"));
    m_kind->setAccessibleName(q_("Kind of the source"));
    m_lastScan->setAccessibleName(q_("Last read"));
    m_result->setAccessibleName(q_("Result of the last scan"));
    connect(m_name, &QLineEdit::textEdited, this, [this](const QString& text) {
        edit([&](SearchItem& item) { item.Name = text.toStdString(); });
    });
    connect(m_path, &QLineEdit::textEdited, this, [this](const QString& text) {
        edit([&](SearchItem& item) { item.Path = text.toStdString(); });
    });
    connect(m_kind, &QComboBox::activated, this, [this] {
        const std::string indexer = m_kind->currentData().toString().toStdString();
        edit([&](SearchItem& item) { item.Indexer = indexer; });
    });
    connect(m_reset, &QPushButton::clicked, this, [this] {
        edit([](SearchItem& item) { item.LastScanDate = Date::distantPast(); });
        loadScan();
    });
    // A switch in the list moves the one here.
    connect(&m_model, &QAbstractItemModel::dataChanged, this, [this] { showItems(m_items); });
    showItems({});
}

QWidget* SourceDetails::makePath() {
    auto* whole = new QWidget;
    auto* layout = new QHBoxLayout(whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_path, 1);
    layout->addWidget(m_browse);
    m_path->setLayoutDirection(Qt::LeftToRight);
    auto* menu = new QMenu(m_browse);
    menu->addAction(q_("&File…"), this, [this] { browse(false); });
    menu->addAction(q_("F&older…"), this, [this] { browse(true); });
    m_browse->setMenu(menu);
    return whole;
}

QCheckBox* SourceDetails::makeSwitch(const QString& text, bool SearchItem::*value) {
    auto* box = new QCheckBox(text);
    m_switches.emplace_back(box, value);
    connect(box, &QCheckBox::clicked, this, [this, box, value] {
        box->setTristate(false);
        const bool isOn = box->isChecked();
        edit([&](SearchItem& item) { item.*value = isOn; });
    });
    return box;
}

void SourceDetails::edit(const std::function<void(SearchItem& item)>& change) {
    const std::vector<EditedItem*> items = m_items;
    for (EditedItem* each : items) {
        change(each->item);
        m_model.touch(*each);
    }
}

void SourceDetails::showItems(const std::vector<EditedItem*>& items) {
    m_items = items;
    const bool isOne = items.size() == 1;
    setEnabled(!items.empty());
    for (QWidget* each : std::initializer_list<QWidget*>{m_name, m_browse, m_path, m_kind}) {
        each->setEnabled(isOne);
    }
    // A text that stands there already stays, with the place where the user types.
    const auto setText = [](QLineEdit* field, const QString& text) {
        if (field->text() == text) return;
        field->setText(text);
        field->setCursorPosition(0);
    };
    setText(m_name, isOne ? toQString(items[0]->item.Name) : QString());
    setText(m_path, isOne ? toQString(items[0]->item.Path) : QString());
    m_path->setToolTip(m_path->text());
    m_name->setPlaceholderText(items.size() > 1 ? counted(N_("%@ source"), N_("%@ sources"),
                                                          static_cast<qint64>(items.size()))
                                                : QString());
    loadKind(isOne ? items[0]->item.Indexer : "", isOne ? items[0]->item.Name : "");
    for (const auto& [box, value] : m_switches) {
        const auto count =
            std::count_if(items.begin(), items.end(),
                          [value = value](const EditedItem* each) { return each->item.*value; });
        const bool isMixed = count > 0 && static_cast<std::size_t>(count) < items.size();
        const QSignalBlocker silence(box);
        box->setTristate(isMixed);
        box->setCheckState(isMixed     ? Qt::PartiallyChecked
                           : count > 0 ? Qt::Checked
                                       : Qt::Unchecked);
    }
    loadScan();
}

// Several kinds are read by the same class: the one that the source is named after, or the last,
// which is the most general.
void SourceDetails::loadKind(const std::string& indexer, const std::string& name) {
    int chosen = -1;
    for (int i = 0; i < m_kind->count(); ++i) {
        if (m_kind->itemData(i).toString().toStdString() != indexer) continue;
        chosen = i;
        if (m_kind->itemText(i).toStdString() == name) break;
    }
    if (chosen < 0 && !indexer.empty()) {
        m_kind->addItem(toQString(indexer), toQString(indexer));
        chosen = m_kind->count() - 1;
    }
    m_kind->setCurrentIndex(chosen);
}

void SourceDetails::loadScan() {
    const bool isOne = m_items.size() == 1;
    m_lastScan->setText(isOne ? textOf(m_items[0]->item.LastScanDate) : QString());
    m_result->setText(isOne ? scanResultInWords(m_items[0]->item) : QString());
    m_reset->setEnabled(std::any_of(m_items.begin(), m_items.end(), [](const EditedItem* each) {
        return each->item.LastScanDate.value_or(Date::distantPast()) > Date::distantPast();
    }));
}

void SourceDetails::browse(bool isFolder) {
    const QString path = isFolder ? QFileDialog::getExistingDirectory(this, q_("Choose a Folder"))
                                  : QFileDialog::getOpenFileName(this, q_("Choose a File"));
    if (path.isEmpty()) return;
    edit([&](SearchItem& item) { item.Path = path.toStdString(); });
}

void SourceDetails::editName() {
    m_name->setFocus();
    m_name->selectAll();
}

}  // namespace siftwell
