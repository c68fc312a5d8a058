// From hits to result rows.
//
// Threads: a search and its hits, one at a time; a row maker, any.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Clock.h"
#include "base/Status.h"
#include "index/IndexController.h"
#include "records/ResultRow.h"

namespace siftwell {

// A hit of one of the searches.
struct FoundDocument {
    SKIndex index;
    fulltext::Hit hit;
};

// A row that can be asked for more: it knows its document for as long as the index is open.
struct FoundRow : ResultRow {
    std::weak_ptr<OpenIndex> index;
    fulltext::DocumentID document = 0;
};

class ResultRowMaker {
public:
    // The help pages are shown from `resourceFolder`, wherever they lay when they were indexed.
    ResultRowMaker(const IndexController& indexes, const Clock& clock, std::string resourceFolder)
        : m_indexes(indexes), m_clock(clock), m_resourceFolder(std::move(resourceFolder)) {}

    // The address is empty when the document was removed since.
    FoundRow rowFor(const FoundDocument& found) const;

private:
    std::string addressOf(const FoundDocument& found) const;
    std::string addressOfHelpPage(const std::string& url) const;

    const IndexController& m_indexes;
    const Clock& m_clock;
    const std::string m_resourceFolder;
};

struct ResultLimits {
    Date since = Date::distantPast();
    Date until = Date::distantFuture();
    std::size_t count = 0;  // 0: all
    bool isSortedByDate = false;
};

struct CollectedResults {
    std::vector<FoundRow> rows;
    std::vector<Status> errors;  // of indexes that could not be searched to the end
};

// Takes all that is asked for at once, best or newest first. Nothing of an index is read that gave
// no hits.
CollectedResults collectResults(const RunningSearches& searches, const ResultLimits& limits,
                                const ResultRowMaker& maker);

}  // namespace siftwell
