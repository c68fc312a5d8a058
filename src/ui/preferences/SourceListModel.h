// SourceListModel: the sources that are edited, each with the switch of its scans.
//
// Threads: main.
#pragma once

#include <QAbstractListModel>
#include <QSortFilterProxyModel>

#include "ui/preferences/PrefsEdits.h"

namespace siftwell {

class SourceListModel : public QAbstractListModel {
    Q_OBJECT

public:
    // Outlives the model.
    explicit SourceListModel(PrefsEdits& edits) : m_edits(edits) {}

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    EditedItem& itemAt(const QModelIndex& index) const;
    QModelIndex indexOf(const EditedItem& item) const;

    void reload();
    QModelIndex add(EditedItem item);
    // Tells that it was edited.
    void touch(const EditedItem& item);

    // Whether the user may take it away: what the program brings along stays.
    static bool isRemovable(const SearchItem& item);

private:
    PrefsEdits& m_edits;
};

// Those that were not removed, by their names.
class SortedSources : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit SortedSources(SourceListModel& model);

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    SourceListModel& m_model;
};

// What the number that a scan left means.
QString scanResultInWords(const SearchItem& item);

}  // namespace siftwell
