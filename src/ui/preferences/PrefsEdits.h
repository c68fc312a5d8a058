// PrefsEdits: copies of what the preferences show, to be stored as a whole or forgotten.
//
// What others store meanwhile (the command line, the clearing of the index) stays: only what was
// changed here is written over theirs.
//
// Threads: main.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/PrefsController.h"
#include "app/Session.h"

namespace siftwell {

// A search item with what became of it.
struct EditedItem {
    std::optional<SearchItem> stored;  // none for a new one
    SearchItem item;
    bool isRemoved = false;
    bool isOffered = false;  // was found, and is stored only if it is switched on
};

class PrefsEdits {
public:
    // Of a confirmation: what is other than before.
    struct Changes {
        bool hasSources = false;
        bool hasFilters = false;
        bool hasValues = false;
        bool concernsScans = false;  // a scan at once finds something to do
        // Filters keep pages out that they did not keep out before, whoever added them.
        bool hasNewFilters = false;

        bool isNone() const { return !hasSources && !hasFilters && !hasValues; }
    };

    // The session outlives the edits.
    explicit PrefsEdits(Session& session) : m_session(session) {}

    // Forgets all edits and copies what is stored. A filter "/localhost" is left out.
    void load();

    // References to items hold until the next load.
    std::deque<EditedItem>& items() { return m_items; }
    std::vector<URLFilter>& filters() { return m_filters; }
    void resetFilters();

    // Of a single key: as it was chosen here, or else as it is stored.
    PropertyList value(const std::string& key) const;
    bool boolean(const std::string& key) const;
    double real(const std::string& key) const;
    std::string string(const std::string& key) const;
    void set(const std::string& key, PropertyList value);

    // Stores what was changed, and tells of it. What is shown is to be loaded anew then.
    Changes confirm();

private:
    bool hasNewFilters() const;
    bool storeItems();
    std::vector<URLFilter> mergedFilters() const;
    bool storeFilters();

    Session& m_session;
    std::deque<EditedItem> m_items;
    std::vector<URLFilter> m_storedFilters;
    std::vector<URLFilter> m_filters;
    bool m_areFiltersUnchecked = false;  // since "/localhost" went, or others added some
    std::map<std::string, PropertyList> m_values;
};

}  // namespace siftwell
