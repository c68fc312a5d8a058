// DocumentModel: a list of documents for a view; what a row shows is read when it is looked at.
//
// Threads: main; records are read on a thread of its own.
#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ui/background/TaskThread.h"
#include "ui/status/DocumentRow.h"

namespace siftwell {

class DocumentModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { AddressColumn, DateColumn, SourceColumn, ColumnCount };  // as DocumentOrder

    explicit DocumentModel(RunLoop& mainLoop, QObject* parent = nullptr);

    void setList(DocumentListPointer list);
    const DocumentList& list() const { return *m_list; }

    const DocumentRow& documentAt(int row) const;
    // Where the documents stand now; those that are gone are left out. Looks at all rows once.
    std::vector<int> rowsOf(const std::vector<DocumentRow>& documents) const;

    // Hands over the addresses of the rows, as soon as they were read.
    void readAddresses(const std::vector<int>& rows,
                       std::function<void(std::vector<std::string>)> take);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    using Key = std::pair<const OpenIndex*, fulltext::DocumentID>;
    struct Place {
        SKIndex index;
        fulltext::DocumentID document = 0;
    };
    using Records = std::vector<std::pair<Key, std::optional<PropertyRecord>>>;

    // Null when it has still to be read, which begins in a later turn.
    const PropertyRecord* recordAt(int row) const;
    Place placeOf(const DocumentRow& document) const;
    void want(int row) const;
    void readWanted();
    void keep(const Records& records);
    QString dateText(const DocumentRow& document) const;

    DocumentListPointer m_list = std::make_shared<const DocumentList>();
    mutable QCache<Key, PropertyRecord> m_records;
    mutable std::vector<int> m_wanted;  // rows that were looked at in vain
    mutable bool m_isReading = false;
    mutable TaskThread m_thread;
};

}  // namespace siftwell
