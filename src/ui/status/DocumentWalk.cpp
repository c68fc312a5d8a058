#include "ui/status/DocumentWalk.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

#include "index/IndexNaming.h"

namespace siftwell {

namespace {

using fulltext::DocumentID;

constexpr std::size_t kDocumentsPerPiece = 1000;
constexpr std::size_t kDocumentsPerLook = 1 << 16;
constexpr std::size_t kMaxAddressBytes = 512;  // that are looked at for the order
constexpr std::int32_t kSecondsPerWeek = 7 * 24 * 60 * 60;

std::int32_t rowDate(Date date) {
    constexpr double kEnd = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(date.secondsSinceReference(), -kEnd, kEnd));
}

// All of them behind `last`.
std::vector<DocumentID> documentsBehind(const OpenIndex& index, DocumentID last) {
    std::vector<DocumentID> all;
    for (;;) {
        const auto some = index.index->documentsBehind(last, kDocumentsPerLook);
        if (some.empty()) return all;
        all.insert(all.end(), some.begin(), some.end());
        last = some.back();
    }
}

// Sites come together, whatever their scheme.
std::string_view withoutScheme(std::string_view address) {
    const std::size_t end = address.find("://");
    return end == std::string_view::npos ? address : address.substr(end + 3);
}

}  // namespace

DocumentWalk::DocumentWalk(DocumentQuery query, std::stop_token stop)
    : m_query(std::move(query)), m_filter(m_query.filter), m_stop(std::move(stop)) {}

void DocumentWalk::look(const IndexSet::List& indexes) {
    forgetIndexesBeside(indexes);
    for (const SKIndex& index : indexes) {
        const auto known = std::find_if(m_sources.begin(), m_sources.end(),
                                        [&](const Source& each) { return each.index == index; });
        if (known != m_sources.end() || !isWanted(*index)) continue;
        if (m_sources.size() > std::numeric_limits<std::uint16_t>::max()) break;
        m_sources.push_back({.index = index, .name = sourceOfIndexName(index->name)});
    }
    dropRemoved();
    for (Source& source : m_sources) {
        if (source.index == nullptr) continue;
        source.unread = documentsBehind(*source.index, source.last);
        if (!source.unread.empty()) source.last = source.unread.back();
    }
    m_sizes = sizesOf(indexes);
}

bool DocumentWalk::isWanted(const OpenIndex& index) const {
    return !m_query.source || sourceOfIndexName(index.name) == *m_query.source;
}

void DocumentWalk::forgetIndexesBeside(const IndexSet::List& indexes) {
    for (Source& source : m_sources) {
        if (std::find(indexes.begin(), indexes.end(), source.index) == indexes.end()) {
            source.index.reset();
            source.unread.clear();
        }
    }
}

void DocumentWalk::dropRemoved() {
    std::vector<std::vector<bool>> isThere;
    for (const Source& source : m_sources) {
        std::vector<bool>& documents = isThere.emplace_back(source.last + std::size_t{1});
        if (source.index == nullptr || source.last == 0) continue;
        for (const DocumentID document : documentsBehind(*source.index, 0)) {
            if (document <= source.last) documents[document] = true;
        }
    }
    const auto isGone = [&](const Entry& entry) {
        return !isThere[entry.row.index][entry.row.document];
    };
    std::erase_if(m_entries, isGone);
    std::erase_if(m_new, isGone);
}

// The sources take turns, so that the newest of all come early.
bool DocumentWalk::readPiece() {
    for (std::size_t i = 0; i < m_sources.size(); ++i) {
        const std::size_t position = (m_next + i) % m_sources.size();
        if (m_sources[position].unread.empty()) continue;
        readFrom(static_cast<std::uint16_t>(position));
        m_next = position + 1;
        return true;
    }
    return false;
}

void DocumentWalk::readFrom(std::uint16_t position) {
    Source& source = m_sources[position];
    const std::size_t count = std::min(source.unread.size(), kDocumentsPerPiece);
    const std::size_t begin = source.unread.size() - count;
    const auto records = source.index->properties->recordsBehind(source.unread[begin] - 1, count);
    for (const RecordEntry& record : records) {
        if (std::binary_search(source.unread.begin() + static_cast<std::ptrdiff_t>(begin),
                               source.unread.end(), record.first)) {
            take(position, record);
        }
    }
    source.unread.resize(begin);
}

void DocumentWalk::take(std::uint16_t position, const RecordEntry& record) {
    if (!m_filter.matches(record.second.url)) return;
    Entry entry{.row = {rowDate(record.second.date), record.first, position}};
    if (m_query.order == DocumentOrder::Address &&
        m_addresses.size() < std::numeric_limits<std::uint32_t>::max() - kMaxAddressBytes) {
        entry.address = static_cast<std::uint32_t>(m_addresses.size());
        m_addresses.append(withoutScheme(record.second.url).substr(0, kMaxAddressBytes));
        m_addresses.push_back('\0');
    }
    m_new.push_back(entry);
}

// The first rows at once, then when there is half as much again.
bool DocumentWalk::isListDue() const {
    return !m_new.empty() && m_new.size() >= m_entries.size() / 2;
}

int DocumentWalk::compare(const Entry& a, const Entry& b) const {
    if (m_query.order == DocumentOrder::Address) {
        return std::strcmp(&m_addresses[a.address], &m_addresses[b.address]);
    }
    if (m_query.order == DocumentOrder::Source) {
        const int names = m_sources[a.row.index].name.compare(m_sources[b.row.index].name);
        if (names != 0) return names;
    }
    return a.row.date < b.row.date ? -1 : static_cast<int>(a.row.date > b.row.date);
}

bool DocumentWalk::isBefore(const Entry& a, const Entry& b) const {
    if (const int order = compare(a, b); order != 0) return m_query.isDescending == (order > 0);
    if (a.row.index != b.row.index) return a.row.index < b.row.index;
    return a.row.document > b.row.document;
}

// Merged from short runs rather than sorted at once, so that it can be broken off: merging stays
// within its bounds whatever it is told of the order, which sorting does not.
void DocumentWalk::mergeNew() {
    constexpr std::size_t kRun = 1 << 12;
    const auto before = [this](const Entry& a, const Entry& b) { return isBefore(a, b); };
    const auto beforeUnlessStopped = [this, isStopped = false, asked = 0](const Entry& a,
                                                                          const Entry& b) mutable {
        if (++asked % 4096 == 0) isStopped = m_stop.stop_requested();
        return !isStopped && isBefore(a, b);
    };
    const auto at = [this](std::size_t i) {
        return m_new.begin() + static_cast<std::ptrdiff_t>(std::min(i, m_new.size()));
    };
    for (std::size_t i = 0; i < m_new.size() && !m_stop.stop_requested(); i += kRun) {
        std::sort(at(i), at(i + kRun), before);
    }
    std::vector<Entry> merged;
    for (std::size_t run = kRun; run < m_new.size(); run *= 2) {
        merged.clear();
        merged.reserve(m_new.size());
        for (std::size_t i = 0; i < m_new.size(); i += 2 * run) {
            std::merge(at(i), at(i + run), at(i + run), at(i + 2 * run), std::back_inserter(merged),
                       beforeUnlessStopped);
        }
        m_new.swap(merged);
    }
    merged.clear();
    merged.reserve(m_entries.size() + m_new.size());
    std::merge(m_entries.begin(), m_entries.end(), m_new.begin(), m_new.end(),
               std::back_inserter(merged), beforeUnlessStopped);
    m_entries.swap(merged);
    m_new = {};
}

DocumentListPointer DocumentWalk::list() {
    if (!m_new.empty()) mergeNew();
    auto list = std::make_shared<DocumentList>();
    for (const Source& source : m_sources) {
        list->indexes.push_back(source.index);
        list->isComplete = list->isComplete || !source.unread.empty();
    }
    list->isComplete = !list->isComplete;
    list->rows.reserve(m_entries.size());
    for (const Entry& entry : m_entries) {
        list->rows.push_back(entry.row);
        const std::int64_t age = std::int64_t{m_query.startOfWeek} - 1 - entry.row.date;
        const std::int64_t week = age < 0 ? 0 : 1 + age / kSecondsPerWeek;
        if (week < static_cast<std::int64_t>(kWeeks)) ++list->weeks[static_cast<std::size_t>(week)];
    }
    list->sizes = m_sizes;
    return list;
}

}  // namespace siftwell
