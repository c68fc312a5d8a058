// SearchObserver: the window that shows what a search finds.
//
// Threads: main. None of these may start a search.
#pragma once

#include <string>
#include <vector>

#include "search/ResultRows.h"

namespace siftwell {

class SearchObserver {
public:
    virtual ~SearchObserver() = default;

    // The text becomes the one in the search field, and the window comes to the front.
    virtual void windowShown(const std::string& searchQuery) = 0;

    virtual void rowsCleared() = 0;
    // More rows of the current search, sorted in by the window; scores are drawn relative to
    // `maxRelevance`.
    virtual void rowsAppended(std::vector<FoundRow> rows, float maxRelevance) = 0;
    // One row, which is no page, stands for all: nothing but a title. A list that pops up is
    // hidden.
    virtual void placeholderShown(const std::string& title) = 0;
    virtual void previewBlanked(const std::string& page) = 0;
    virtual void statusChanged(const std::string& status) = 0;  // localized; "" clears it

    // No more rows will come of this search.
    virtual void searchDone() = 0;
};

}  // namespace siftwell
