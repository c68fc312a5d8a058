#include "ui/preferences/SourceListModel.h"

#include <QApplication>
#include <QCollator>
#include <QIcon>
#include <QStyle>

#include "ui/Text.h"

namespace siftwell {

namespace {

bool wentWrong(const SearchItem& item) { return item.Index && item.ScanResult.value_or(0) != 0; }

QVariant warning(const SearchItem& item) {
    if (!wentWrong(item)) return {};
    return QIcon::fromTheme(QStringLiteral("dialog-warning"),
                            QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning));
}

QString nameOf(const SearchItem& item) {
    return item.Name.empty() ? q_("(no name)") : toQString(item.Name);
}

}  // namespace

int SourceListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_edits.items().size());
}

QVariant SourceListModel::data(const QModelIndex& index, int role) const {
    const SearchItem& item = itemAt(index).item;
    switch (role) {
        case Qt::DisplayRole:
            return nameOf(item);
        case Qt::CheckStateRole:
            return item.Index ? Qt::Checked : Qt::Unchecked;
        case Qt::DecorationRole:
            return warning(item);
        case Qt::ToolTipRole:
            return toQString(item.Path);
        case Qt::AccessibleDescriptionRole:
            return scanResultInWords(item);
        default:
            return {};
    }
}

bool SourceListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole) return false;
    itemAt(index).item.Index = value.toInt() == Qt::Checked;
    Q_EMIT dataChanged(index, index);
    return true;
}

Qt::ItemFlags SourceListModel::flags(const QModelIndex&) const {
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
}

EditedItem& SourceListModel::itemAt(const QModelIndex& index) const {
    return m_edits.items()[static_cast<std::size_t>(index.row())];
}

QModelIndex SourceListModel::indexOf(const EditedItem& item) const {
    for (int row = 0; row < rowCount(); ++row) {
        if (&m_edits.items()[static_cast<std::size_t>(row)] == &item) return index(row);
    }
    return {};
}

void SourceListModel::reload() {
    beginResetModel();
    endResetModel();
}

QModelIndex SourceListModel::add(EditedItem item) {
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_edits.items().push_back(std::move(item));
    endInsertRows();
    return index(row);
}

void SourceListModel::touch(const EditedItem& item) {
    const QModelIndex at = indexOf(item);
    Q_EMIT dataChanged(at, at);
}

bool SourceListModel::isRemovable(const SearchItem& item) {
    return item.UserItem || item.Name == "Manual Search";
}

SortedSources::SortedSources(SourceListModel& model) : m_model(model) {
    setSourceModel(&model);
    setDynamicSortFilter(true);
    sort(0);
}

bool SortedSources::filterAcceptsRow(int row, const QModelIndex&) const {
    return !m_model.itemAt(m_model.index(row)).isRemoved;
}

bool SortedSources::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    QCollator order;
    order.setCaseSensitivity(Qt::CaseInsensitive);
    order.setNumericMode(true);
    return order.compare(left.data().toString(), right.data().toString()) < 0;
}

QString scanResultInWords(const SearchItem& item) {
    if (!item.ScanResult) return q_("Not read yet");
    switch (*item.ScanResult) {
        case scanResult::kSuccess:
            return q_("Read without a problem");
        case scanResult::kFailure:
            return q_("Could not be read");
        case scanResult::kConfigurationError:
            return q_("Nothing is at the path, or the kind does not fit");
        case scanResult::kCopyFailed:
            return q_("A file could not be copied");
        case scanResult::kDownloadsUnfinished:
            return q_("Some pages were not fetched in time");
        default:
            return q_("An unexpected error");
    }
}

}  // namespace siftwell
