// ResultModel: the rows of a search in the order that the user wants them.
//
// Rows come in batches and are sorted in as they come. What is selected stays selected, whatever
// comes before it.
//
// Threads: main. Cost: a batch, a few passes over numbers for all rows; sorting 100,000 rows anew
// some ten milliseconds.
#pragma once

#include <QAbstractTableModel>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "search/ResultRows.h"

namespace siftwell {

class ResultModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { ScoreColumn, TitleColumn, AddressColumn, DateColumn, SourceColumn, kColumns };

    // How good the row is beside the best of its search, 0 to 1.
    static constexpr int kRelevanceRole = Qt::UserRole;

    // Keeps no more than the first `most` rows; 0 stands for all.
    explicit ResultModel(std::size_t most = 0, QObject* parent = nullptr);

    void clear();
    void append(const std::vector<FoundRow>& rows, float maxRelevance);
    void removeAt(int row);

    const FoundRow& rowAt(int row) const { return m_rows[m_order[static_cast<std::size_t>(row)]]; }
    double relevanceOf(const FoundRow& row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

Q_SIGNALS:
    // Around every change of the order, so that a view can keep its place.
    void willArrange();
    void arranged();

private:
    using Place = std::uint32_t;  // in m_rows: the order of arrival
    struct Key;

    static std::string titleKey(const FoundRow& row);
    Key keyOf(Place place) const;
    bool isBefore(const Key& a, const Key& b) const;
    bool isByText() const { return m_sortColumn != ScoreColumn && m_sortColumn != DateColumn; }
    static std::size_t endOfSame(std::span<const Key> keys, std::size_t from);
    void sortTexts(std::span<Key> keys, std::size_t same) const;
    std::vector<Place> sorted(std::vector<Place> places) const;
    std::vector<Place> mergedWith(const std::vector<Place>& added) const;
    void arrange(std::vector<Place> order);
    void dropBehind(std::size_t count);
    bool mayBeKept(const FoundRow& row) const;
    QVariant told(const FoundRow& row, int column) const;

    const std::size_t m_most;
    std::vector<FoundRow> m_rows;
    std::vector<std::string> m_titleKeys;
    std::vector<Place> m_order;
    float m_maxRelevance = 0;
    int m_sortColumn = ScoreColumn;
    Qt::SortOrder m_sortOrder = Qt::DescendingOrder;
};

}  // namespace siftwell
