#include "ui/status/SourceList.h"

#include <QHeaderView>
#include <QLocale>
#include <QScopedValueRollback>
#include <algorithm>
#include <map>
#include <set>

#include "index/IndexNaming.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

enum Column { NameColumn, PagesColumn, BytesColumn };
constexpr int kSwitchRole = Qt::UserRole;  // what the switch shows

std::map<QString, IndexSize> sizesBySource(const std::vector<IndexSize>& sizes) {
    std::map<QString, IndexSize> result;
    for (const IndexSize& each : sizes) {
        IndexSize& sum = result[toQString(sourceOfIndexName(each.name))];
        sum.documents += each.documents;
        sum.bytes += each.bytes;
    }
    return result;
}

// Several items may share a name, and then their pages.
std::vector<std::pair<QString, bool>> switchesIn(const std::vector<SearchItem>& items) {
    std::vector<std::pair<QString, bool>> switches;
    for (const SearchItem& item : items) {
        const QString name = toQString(item.Name);
        const auto known = std::find_if(switches.begin(), switches.end(),
                                        [&](const auto& each) { return each.first == name; });
        if (known == switches.end()) {
            switches.emplace_back(name, item.Index);
        } else {
            known->second = known->second || item.Index;
        }
    }
    return switches;
}

// Those that are on or have brought pages before the many that never will.
std::vector<std::pair<QString, bool>> usedFirst(std::vector<std::pair<QString, bool>> switches,
                                                const std::map<QString, IndexSize>& sizes) {
    std::stable_partition(switches.begin(), switches.end(), [&](const auto& each) {
        return each.second || sizes.contains(each.first);
    });
    return switches;
}

// Qt lays out the whole list for every text that is set.
void setText(QTreeWidgetItem& line, int column, const QString& text) {
    if (line.text(column) == text) return;
    line.setText(column, text);
    line.setTextAlignment(column, Qt::AlignTrailing | Qt::AlignVCenter);
}

}  // namespace

SourceList::SourceList(QWidget* parent) : QTreeWidget(parent) {
    setColumnCount(3);
    setHeaderLabels({q_("Source"), q_("Pages"), q_("Size")});
    setAccessibleName(q_("Sources"));
    setAccessibleDescription(q_("Ticked sources are read at every scan."));
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header()->setMinimumSectionSize(8 * fontMetrics().averageCharWidth());
    for (const int column : {PagesColumn, BytesColumn}) {
        headerItem()->setTextAlignment(column, Qt::AlignTrailing | Qt::AlignVCenter);
    }
    auto* const all = new QTreeWidgetItem(this, {q_("All sources")});
    all->setSelected(true);
    connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (!m_isFilling) Q_EMIT sourceSelected();
    });
    connect(this, &QTreeWidget::itemChanged, this,
            [this](const QTreeWidgetItem* line) { noteSwitch(*line); });
}

void SourceList::setSources(const std::vector<SearchItem>& items,
                            const std::vector<IndexSize>& sizes) {
    if (items == m_items && sizes == m_sizes && topLevelItemCount() > 1) return;
    const QScopedValueRollback filling(m_isFilling, true);
    m_items = items;
    m_sizes = sizes;
    std::map<QString, IndexSize> ofSources = sizesBySource(sizes);
    std::set<QString> shown;
    fill(*topLevelItem(0), sumOf(sizes));
    for (const auto& [name, isOn] : usedFirst(switchesIn(items), ofSources)) {
        QTreeWidgetItem& line = *lineOf(name);
        line.setFlags(line.flags() | Qt::ItemIsUserCheckable);
        line.setCheckState(NameColumn, isOn ? Qt::Checked : Qt::Unchecked);
        line.setData(NameColumn, kSwitchRole, isOn);
        fill(line, ofSources[name]);
        shown.insert(name);
    }
    for (const auto& [name, size] : ofSources) {
        if (!shown.insert(name).second) continue;
        QTreeWidgetItem& line = *lineOf(name);
        line.setFlags(line.flags() & ~Qt::ItemIsUserCheckable);
        line.setData(NameColumn, Qt::CheckStateRole, {});
        line.setToolTip(NameColumn, name + u'\n' + q_("No longer among the sources"));
        fill(line, size);
    }
    for (int i = topLevelItemCount() - 1; i > 0; --i) {
        if (!shown.contains(topLevelItem(i)->text(NameColumn))) delete takeTopLevelItem(i);
    }
    if (selectedItems().isEmpty()) setCurrentItem(topLevelItem(0));
    resizeColumnToContents(PagesColumn);
    resizeColumnToContents(BytesColumn);
}

// The source's line, or a new one at the end.
QTreeWidgetItem* SourceList::lineOf(const QString& source) {
    for (int i = 1; i < topLevelItemCount(); ++i) {
        if (topLevelItem(i)->text(NameColumn) == source) return topLevelItem(i);
    }
    auto* const line = new QTreeWidgetItem(this, {source});
    line->setToolTip(NameColumn, source);
    return line;
}

void SourceList::fill(QTreeWidgetItem& line, const IndexSize& size) {
    setText(line, PagesColumn, QLocale().toString(static_cast<qulonglong>(size.documents)));
    setText(line, BytesColumn,
            size.bytes == 0 ? QStringLiteral("–")
                            : QLocale().formattedDataSize(static_cast<qint64>(size.bytes), 1,
                                                          QLocale::DataSizeSIFormat));
}

std::optional<std::string> SourceList::selectedSource() const {
    const auto selected = selectedItems();
    if (selected.isEmpty() || selected.front() == topLevelItem(0)) return std::nullopt;
    return selected.front()->text(NameColumn).toStdString();
}

void SourceList::noteSwitch(const QTreeWidgetItem& line) {
    if (m_isFilling || !line.flags().testFlag(Qt::ItemIsUserCheckable)) return;
    const bool isOn = line.checkState(NameColumn) == Qt::Checked;
    const QVariant before = line.data(NameColumn, kSwitchRole);
    if (before.isValid() && before.toBool() != isOn) {
        m_items.clear();  // it may turn out otherwise
        Q_EMIT switched(line.text(NameColumn), isOn);
    }
}

}  // namespace siftwell
