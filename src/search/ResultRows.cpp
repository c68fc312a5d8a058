#include "search/ResultRows.h"

#include <algorithm>
#include <limits>

#include "base/Url.h"
#include "index/IndexNaming.h"
#include "text/Utf8Prefix.h"

namespace siftwell {

namespace {

constexpr const char* kHelpSource = "Siftwell Help";
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

bool hasDateLimits(const ResultLimits& limits) {
    return limits.since > Date::distantPast() || limits.until < Date::distantFuture();
}

// Takes hits of one search until enough of them are inside the limits.
class HitTaker {
public:
    HitTaker(const RunningSearch& running, const ResultLimits& limits)
        : m_running(running), m_limits(limits) {}

    Status takeInto(std::vector<FoundDocument>& found) {
        const std::size_t wanted =
            m_limits.count == 0 || m_limits.isSortedByDate ? kAll : m_limits.count;
        std::size_t taken = 0;
        for (bool isMoreToCome = true; isMoreToCome && taken < wanted;) {
            auto matches = m_running.search->findMatches(wanted, std::chrono::hours(1));
            if (!matches) return matches.status();
            isMoreToCome = matches->isMoreToCome;
            for (const fulltext::Hit& hit : matches->hits) {
                if (!isInside(hit)) continue;
                found.push_back({m_running.index, hit});
                ++taken;
            }
        }
        return {};
    }

private:
    bool isInside(const fulltext::Hit& hit) const {
        if (!hasDateLimits(m_limits)) return true;
        const auto date = m_running.index->properties->dateForSKDocument(hit.document);
        return !date || (*date >= m_limits.since && *date <= m_limits.until);
    }

    const RunningSearch& m_running;
    const ResultLimits& m_limits;
};

void keepFirst(auto& list, std::size_t count) {
    if (count > 0 && list.size() > count) list.resize(count);
}

}  // namespace

FoundRow ResultRowMaker::rowFor(const FoundDocument& found) const {
    const auto record = m_indexes.propertiesForDocumentID(found.hit.document, found.index);
    FoundRow row;
    row.index = found.index;
    row.document = found.hit.document;
    row.score = found.hit.score;
    if (record) {
        row.url = record->source == kHelpSource ? addressOfHelpPage(record->url) : record->url;
        row.cachePath = record->cachePath.value_or("");
        row.title = record->title;
        row.indexer = record->indexer;
        row.source = record->source;
        row.moment = record->date;
    } else {
        row.url = addressOf(found);
    }
    if (row.title.empty()) {
        const auto url = Url::parse(row.url);
        row.title = url ? repairedUtf8(url->lastPathComponent()) : row.url;
    }
    const Date date = row.moment ? *row.moment : m_clock.now();
    row.date = date.formattedLocally("%Y/%m/%d %H:%M");
    return row;
}

std::string ResultRowMaker::addressOf(const FoundDocument& found) const {
    const auto key = found.index->index->keyOf(found.hit.document);
    return key ? addressOfDocument(*key) : std::string();
}

// "…/Contents/Resources/Help/x.html" as it lies in the program that runs now.
std::string ResultRowMaker::addressOfHelpPage(const std::string& url) const {
    constexpr std::string_view kMark = "Contents";
    const auto parsed = Url::parse(url);
    const std::string path = parsed ? parsed->path().value_or("") : "";
    const std::size_t inPath = path.rfind(kMark);
    const std::size_t inFolder = m_resourceFolder.rfind(kMark);
    if (inPath == std::string::npos || inFolder == std::string::npos) return url;
    return Url::fromFilePath(m_resourceFolder.substr(0, inFolder) + path.substr(inPath))
        .absoluteString();
}

CollectedResults collectResults(const RunningSearches& searches, const ResultLimits& limits,
                                const ResultRowMaker& maker) {
    CollectedResults collected;
    std::vector<FoundDocument> found;
    for (const RunningSearch& running : *searches) {
        const Status status = HitTaker(running, limits).takeInto(found);
        if (!status.isOk()) collected.errors.push_back(status);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.hit.score > b.hit.score; });
    if (!limits.isSortedByDate) keepFirst(found, limits.count);
    for (const FoundDocument& document : found) collected.rows.push_back(maker.rowFor(document));
    if (limits.isSortedByDate) {
        std::stable_sort(collected.rows.begin(), collected.rows.end(),
                         [](const FoundRow& a, const FoundRow& b) { return a.moment > b.moment; });
        keepFirst(collected.rows, limits.count);
    }
    return collected;
}

}  // namespace siftwell
