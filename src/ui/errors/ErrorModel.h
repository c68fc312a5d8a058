// ErrorModel: the errors of the last days, the newest first.
//
// Threads: main.
#pragma once

#include <QAbstractTableModel>
#include <vector>

#include "app/ErrorLog.h"

namespace siftwell {

class ErrorModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { SeverityColumn, MessageColumn, AddressColumn, TimeColumn, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    void setErrors(std::vector<LoggedError> oldestFirst);
    void add(LoggedError error);  // the newest
    void clear() { setErrors({}); }
    const LoggedError& errorAt(int row) const;
    // All that is known of it, line by line.
    QString textOf(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<LoggedError> m_errors;  // oldest first
};

// What a severity means to the user.
QString severityWord(std::int64_t severity);

}  // namespace siftwell
