#include "ui/search/ResultModel.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <numeric>

#include "text/Folding.h"
#include "text/TitleText.h"
#include "ui/Text.h"
#include "ui/search/RowTexts.h"

namespace siftwell {

// What rows are compared by: the number first, then the text.
struct ResultModel::Key {
    std::array<std::uint64_t, 2> number;
    std::string_view text;
    Place place;
};

namespace {

// Grows with the value.
std::uint64_t ordered(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

// The first bytes, so that most texts are told apart by numbers.
std::array<std::uint64_t, 2> ordered(std::string_view text) {
    std::array<std::uint64_t, 2> numbers{};
    for (std::size_t i = 0; i < 16; ++i) {
        numbers[i / 8] =
            numbers[i / 8] << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
    }
    return numbers;
}

// Addresses are sorted by their hosts, however these are reached.
std::string_view addressKey(std::string_view address) {
    const auto scheme = address.find("://");
    if (scheme != std::string_view::npos) address.remove_prefix(scheme + 3);
    if (address.starts_with("www.")) address.remove_prefix(4);
    return address;
}

// Behind this many bytes texts are compared as they are.
constexpr std::size_t kFarthest = 4096;

}  // namespace

// Up to where all texts are the same. They are so up to `from`.
std::size_t ResultModel::endOfSame(std::span<const Key> keys, std::size_t from) {
    const std::string_view first = keys.front().text;
    std::size_t end = first.size();
    for (const Key& key : keys) {
        const std::string_view rest = key.text.substr(from);
        const std::string_view known = first.substr(from, end - from);
        const auto unlike = std::mismatch(known.begin(), known.end(), rest.begin(), rest.end());
        end = from + static_cast<std::size_t>(unlike.first - known.begin());
    }
    return end;
}

ResultModel::ResultModel(std::size_t most, QObject* parent)
    : QAbstractTableModel(parent), m_most(most) {}

void ResultModel::clear() {
    beginResetModel();
    m_rows.clear();
    m_titleKeys.clear();
    m_order.clear();
    m_maxRelevance = 0;
    endResetModel();
}

// ---- Order

std::string ResultModel::titleKey(const FoundRow& row) { return folded(row.title); }

ResultModel::Key ResultModel::keyOf(Place place) const {
    const FoundRow& row = m_rows[place];
    const auto byText = [place](std::string_view text) { return Key{ordered(text), text, place}; };
    switch (m_sortColumn) {
        case TitleColumn:
            return byText(m_titleKeys[place]);
        case AddressColumn:
            return byText(addressKey(row.url));
        case SourceColumn:
            return byText(row.source);
        case DateColumn:
            return {{ordered(row.moment.value_or(Date::distantPast()).secondsSinceReference()), 0},
                    {},
                    place};
        default:
            return {{ordered(static_cast<double>(row.score)), 0}, {}, place};
    }
}

// Rows that are alike stay as they came, in either direction.
bool ResultModel::isBefore(const Key& a, const Key& b) const {
    const bool isRising = m_sortOrder == Qt::AscendingOrder;
    if (a.number != b.number) return (a.number < b.number) == isRising;
    if (const int order = a.text.compare(b.text); order != 0) return (order < 0) == isRising;
    return a.place < b.place;
}

// Pages of one site begin alike. So texts are told apart by the first bytes in which they differ,
// as numbers, and those which these leave alike by the next.
void ResultModel::sortTexts(std::span<Key> keys, std::size_t same) const {
    same = endOfSame(keys, same);
    for (Key& key : keys) key.number = ordered(key.text.substr(same));
    const bool isRising = m_sortOrder == Qt::AscendingOrder;
    std::sort(keys.begin(), keys.end(), [isRising](const Key& a, const Key& b) {
        if (a.number != b.number) return (a.number < b.number) == isRising;
        return a.place < b.place;
    });
    const std::size_t told = same + sizeof(Key::number);
    for (auto from = keys.begin(); from != keys.end();) {
        const auto to = std::find_if(from, keys.end(),
                                     [from](const Key& key) { return key.number != from->number; });
        const auto [shortest, longest] = std::minmax_element(
            from, to, [](const Key& a, const Key& b) { return a.text.size() < b.text.size(); });
        const bool areSame =
            longest->text.size() <= told && shortest->text.size() == longest->text.size();
        if (to - from > 1 && !areSame) {
            if (shortest->text.size() >= told && told < kFarthest) {
                sortTexts({from, to}, told);
            } else {
                std::sort(from, to, [this](const Key& a, const Key& b) { return isBefore(a, b); });
            }
        }
        from = to;
    }
}

std::vector<ResultModel::Place> ResultModel::sorted(std::vector<Place> places) const {
    std::vector<Key> keys;
    keys.reserve(places.size());
    for (const Place place : places) keys.push_back(keyOf(place));
    if (isByText() && !keys.empty()) {
        sortTexts(keys, 0);
    } else {
        std::sort(keys.begin(), keys.end(),
                  [this](const Key& a, const Key& b) { return isBefore(a, b); });
    }
    std::transform(keys.begin(), keys.end(), places.begin(),
                   [](const Key& key) { return key.place; });
    return places;
}

// Few are added to many: each looks for its place.
std::vector<ResultModel::Place> ResultModel::mergedWith(const std::vector<Place>& added) const {
    std::vector<Place> result;
    result.reserve(m_order.size() + added.size());
    auto from = m_order.begin();
    for (const Place place : added) {
        const Key key = keyOf(place);
        const auto to = std::partition_point(
            from, m_order.end(), [&](Place other) { return isBefore(keyOf(other), key); });
        result.insert(result.end(), from, to);
        result.push_back(place);
        from = to;
    }
    result.insert(result.end(), from, m_order.end());
    return result;
}

void ResultModel::arrange(std::vector<Place> order) {
    constexpr auto kHint = QAbstractItemModel::VerticalSortHint;
    Q_EMIT layoutAboutToBeChanged({}, kHint);
    std::vector<int> positions(m_rows.size(), -1);
    for (std::size_t i = 0; i < order.size(); ++i) positions[order[i]] = static_cast<int>(i);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before) {
        const Place place = m_order[static_cast<std::size_t>(index.row())];
        after << createIndex(positions[place], index.column());
    }
    m_order = std::move(order);
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, kHint);
}

void ResultModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= kColumns) return;
    m_sortColumn = column;
    m_sortOrder = order;
    Q_EMIT willArrange();
    arrange(sorted(m_order));
    Q_EMIT arranged();
}

// ---- Rows

void ResultModel::append(const std::vector<FoundRow>& rows, float maxRelevance) {
    Q_EMIT willArrange();
    m_maxRelevance = std::max(m_maxRelevance, maxRelevance);
    std::vector<Place> added;
    for (const FoundRow& row : rows) {
        if (!mayBeKept(row)) continue;
        added.push_back(static_cast<Place>(m_rows.size()));
        m_rows.push_back(row);
        m_titleKeys.push_back(titleKey(row));
    }
    if (!added.empty()) {
        std::vector<Place> order = mergedWith(sorted(added));
        const int count = rowCount();
        beginInsertRows({}, count, count + static_cast<int>(added.size()) - 1);
        m_order.insert(m_order.end(), added.begin(), added.end());
        endInsertRows();
        arrange(std::move(order));
        if (m_most > 0) dropBehind(m_most);
    }
    if (!m_order.empty()) {
        Q_EMIT dataChanged(index(0, ScoreColumn), index(rowCount() - 1, TitleColumn),
                           {kRelevanceRole});
    }
    Q_EMIT arranged();
}

bool ResultModel::mayBeKept(const FoundRow& row) const {
    return m_most == 0 || m_order.size() < m_most || row.score > m_rows[m_order.back()].score;
}

void ResultModel::dropBehind(std::size_t count) {
    if (m_order.size() <= count) return;
    beginRemoveRows({}, static_cast<int>(count), rowCount() - 1);
    m_order.resize(count);
    endRemoveRows();
}

void ResultModel::removeAt(int row) {
    if (row < 0 || row >= rowCount()) return;
    beginRemoveRows({}, row, row);
    m_order.erase(m_order.begin() + row);
    endRemoveRows();
}

int ResultModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_order.size());
}

int ResultModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumns;
}

double ResultModel::relevanceOf(const FoundRow& row) const {
    if (m_maxRelevance <= 0) return 0;
    return std::clamp(static_cast<double>(row.score / m_maxRelevance), 0.0, 1.0);
}

// ---- What is shown

QVariant ResultModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const FoundRow& row = rowAt(index.row());
    const int column = index.column();
    switch (role) {
        case kRelevanceRole:
            return relevanceOf(row);
        case Qt::ToolTipRole:
            if (column == TitleColumn) return plainToolTip(toQString(titleToShow(row.title)));
            if (column == AddressColumn) return plainToolTip(toQString(row.url));
            return {};
        case Qt::DisplayRole:
            return told(row, column);
        case Qt::AccessibleTextRole:
            if (column == ScoreColumn) return relevanceText(relevanceOf(row));
            if (column == TitleColumn) return fullText(row, relevanceOf(row));
            return told(row, column);
        default:
            return {};
    }
}

QVariant ResultModel::told(const FoundRow& row, int column) const {
    switch (column) {
        case TitleColumn:
            return shownTitle(row);
        case AddressColumn:
            return shownAddress(row);
        case DateColumn:
            return shownDate(row);
        case SourceColumn:
            return toQString(row.source);
        default:
            return {};
    }
}

QVariant ResultModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    static constexpr std::array<const char*, kColumns> kTitles = {
        N_("Relevance"), N_("Title"), N_("Address"), N_("Date"), N_("Source")};
    if (section < 0 || section >= kColumns) return {};
    return q_(kTitles[static_cast<std::size_t>(section)]);
}

}  // namespace siftwell
