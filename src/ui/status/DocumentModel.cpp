#include "ui/status/DocumentModel.h"

#include <algorithm>
#include <limits>
#include <set>
#include <tuple>
#include <utility>

#include "index/IndexNaming.h"
#include "ui/Dates.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr int kRecordsKept = 4000;
constexpr std::size_t kMaxWanted = 300;  // more than a screen shows; those scrolled past are left

auto keyOf(const DocumentRow& row) { return std::tuple(row.index, row.document); }

}  // namespace

DocumentModel::DocumentModel(RunLoop& mainLoop, QObject* parent)
    : QAbstractTableModel(parent), m_records(kRecordsKept), m_thread(mainLoop, "records") {}

void DocumentModel::setList(DocumentListPointer list) {
    beginResetModel();
    // An index may have come to stand where another one was.
    if (list->indexes != m_list->indexes) m_records.clear();
    m_wanted.clear();
    m_list = std::move(list);
    endResetModel();
}

const DocumentRow& DocumentModel::documentAt(int row) const {
    return m_list->rows[static_cast<std::size_t>(row)];
}

std::vector<int> DocumentModel::rowsOf(const std::vector<DocumentRow>& documents) const {
    std::vector<int> rows;
    if (documents.empty()) return rows;
    std::set<std::tuple<std::uint16_t, fulltext::DocumentID>> keys;
    for (const DocumentRow& document : documents) keys.insert(keyOf(document));
    const auto isAlone = keys.size() == 1;
    const auto first = *keys.begin();
    for (std::size_t i = 0; i < m_list->rows.size() && rows.size() < keys.size(); ++i) {
        const auto key = keyOf(m_list->rows[i]);
        if (isAlone ? key == first : keys.contains(key)) rows.push_back(static_cast<int>(i));
    }
    return rows;
}

int DocumentModel::rowCount(const QModelIndex& parent) const {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    return parent.isValid() ? 0 : static_cast<int>(std::min(m_list->rows.size(), kMost));
}

int DocumentModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant DocumentModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const DocumentRow& document = documentAt(index.row());
    if (role == Qt::ToolTipRole) {
        const PropertyRecord* const record = recordAt(index.row());
        if (record == nullptr) return {};
        return QStringLiteral("<p>%1</p><p>%2</p>")
            .arg(toQString(record->title).toHtmlEscaped(),
                 readableAddress(record->url).left(2000).toHtmlEscaped());
    }
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
        case AddressColumn:
            if (const PropertyRecord* const record = recordAt(index.row())) {
                return readableAddress(record->url);
            }
            return {};
        case DateColumn:
            return dateText(document);
        case SourceColumn:
            return toQString(sourceOfIndexName(m_list->indexes[document.index]->name));
        default:
            return {};
    }
}

QString DocumentModel::dateText(const DocumentRow& document) const {
    return shortDateTime(Date::fromReference(document.date));
}

QVariant DocumentModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeading | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    switch (section) {
        case AddressColumn:
            return q_("Address");
        case DateColumn:
            return q_("Date");
        default:
            return q_("Source");
    }
}

DocumentModel::Place DocumentModel::placeOf(const DocumentRow& document) const {
    return {m_list->indexes[document.index], document.document};
}

const PropertyRecord* DocumentModel::recordAt(int row) const {
    const Place place = placeOf(documentAt(row));
    const PropertyRecord* const record = m_records.object({place.index.get(), place.document});
    if (record == nullptr) want(row);
    return record;
}

void DocumentModel::want(int row) const {
    m_wanted.push_back(row);
    if (std::exchange(m_isReading, true)) return;
    m_thread.post([self = const_cast<DocumentModel*>(this)] { self->readWanted(); });
}

void DocumentModel::readWanted() {
    std::vector<Place> places;
    const std::size_t skipped = m_wanted.size() - std::min(m_wanted.size(), kMaxWanted);
    for (std::size_t i = skipped; i < m_wanted.size(); ++i) {
        places.push_back(placeOf(documentAt(m_wanted[i])));
    }
    m_wanted.clear();
    m_isReading = !places.empty();
    if (places.empty()) return;
    m_thread.run([this, places = std::move(places)](const std::stop_token& stop) {
        Records records;
        for (const Place& place : places) {
            if (stop.stop_requested()) break;
            records.emplace_back(Key(place.index.get(), place.document),
                                 place.index->properties->propertiesForSKDocument(place.document));
        }
        return [this, records = std::move(records)] {
            keep(records);
            readWanted();
        };
    });
}

void DocumentModel::keep(const Records& records) {
    for (const auto& [key, record] : records) {
        m_records.insert(key, new PropertyRecord(record.value_or(PropertyRecord{})));
    }
    if (rowCount() > 0) {
        Q_EMIT dataChanged(index(0, AddressColumn), index(rowCount() - 1, AddressColumn));
    }
}

void DocumentModel::readAddresses(const std::vector<int>& rows,
                                  std::function<void(std::vector<std::string>)> take) {
    std::vector<Place> places;
    places.reserve(rows.size());
    for (const int row : rows) places.push_back(placeOf(documentAt(row)));
    m_thread.run([places = std::move(places), take = std::move(take)](const std::stop_token& stop) {
        std::vector<std::string> addresses;
        for (const Place& place : places) {
            if (stop.stop_requested()) break;
            const auto record = place.index->properties->propertiesForSKDocument(place.document);
            if (record) addresses.push_back(record->url);
        }
        return [take, addresses = std::move(addresses)] { take(addresses); };
    });
}

}  // namespace siftwell
