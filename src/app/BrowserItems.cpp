#include "app/BrowserItems.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "app/DefaultSearchItems.h"
#include "records/IndexerNames.h"
#include "sources/PathExpansion.h"

namespace siftwell {

namespace {

using Kind = BrowserSource::Kind;
using State = BrowserItem::State;

// ---- What is there

// The items of a list by what they read. Items of other indexers than are asked for may lie on a
// disk that does not answer, and are left alone.
class ReadFiles {
public:
    // Both outlive the object.
    ReadFiles(const std::vector<SearchItem>& list, const Paths& paths)
        : m_list(list), m_paths(paths) {}

    // The position in the list; of several, one that is on.
    std::optional<std::size_t> find(const SearchItem& item) {
        if (m_indexers.insert(item.Indexer).second) look(item.Indexer);
        const auto found = m_items.find({item.Indexer, resolvingSymbolicLinks(item.Path)});
        return found == m_items.end() ? std::nullopt : std::optional(found->second);
    }

private:
    void look(const std::string& indexer) {
        for (std::size_t i = 0; i < m_list.size(); ++i) {
            if (m_list[i].Indexer != indexer) continue;
            auto files = pathsByExpandingAndGlobbing(m_list[i].Path, m_paths);
            files.push_back(resolvingSymbolicLinks(m_list[i].Path));  // a pattern leads to itself
            for (std::string& file : files) {
                const auto [at, isNew] = m_items.insert({{indexer, std::move(file)}, i});
                if (!isNew && m_list[i].Index) at->second = i;
            }
        }
    }

    const std::vector<SearchItem>& m_list;
    const Paths& m_paths;
    std::set<std::string> m_indexers;  // looked for
    std::map<std::pair<std::string, std::string>, std::size_t> m_items;
};

// ---- Names

const char* nameOf(Kind kind) {
    switch (kind) {
        case Kind::Cache:
            return "Cache";
        case Kind::History:
            return "History";
        case Kind::Bookmarks:
            break;
    }
    return "Bookmarks";
}

// Gives names to what is new, one profile after the other.
class Naming {
public:
    Naming(const std::vector<BrowserProfile>& profiles, const std::vector<SearchItem>& list) {
        for (const BrowserProfile& each : profiles) {
            m_packagings[each.browser].insert(each.packaging);
            ++m_profiles[{each.browser, each.packaging}];
        }
        for (const SearchItem& item : list) m_taken.insert(item.Name);
        for (const SearchItem& item : defaultSearchItems()) m_taken.insert(item.Name);
    }

    // All of them are told apart in the same way.
    void name(BrowserItems& items) {
        const BrowserProfile& profile = items.profile;
        const bool isOneOfSeveral = m_profiles[{profile.browser, profile.packaging}] > 1;
        if (isOneOfSeveral || !take(items, toldApart(profile, false))) {
            const std::string told = toldApart(profile, true);
            bool isTaken = take(items, told);
            for (int i = 2; !isTaken; ++i) isTaken = take(items, told + " " + std::to_string(i));
        }
    }

private:
    // " (Snap, Work)", as far as it is needed.
    std::string toldApart(const BrowserProfile& profile, bool isNameTold) {
        const bool isPackagingTold = m_packagings[profile.browser].size() > 1;
        std::string text = isPackagingTold ? profile.packaging : "";
        if (isNameTold && !profile.name.empty()) text += (text.empty() ? "" : ", ") + profile.name;
        return text.empty() ? "" : " (" + text + ")";
    }

    // False when one of the names is taken.
    bool take(BrowserItems& items, const std::string& end) {
        std::vector<std::string> names;
        for (const BrowserSource& source : items.profile.sources) {
            names.push_back(items.profile.browser + " " + nameOf(source.kind) + end);
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (items.items[i].state == State::New && m_taken.contains(names[i])) return false;
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (items.items[i].state != State::New) continue;
            items.items[i].item.Name = names[i];
            m_taken.insert(names[i]);
        }
        return true;
    }

    std::map<std::string, std::set<std::string>> m_packagings;  // of a browser
    std::map<std::pair<std::string, std::string>, int> m_profiles;
    std::set<std::string> m_taken;
};

SearchItem itemFor(const BrowserSource& source) {
    SearchItem item;
    item.Search = true;
    item.Expire = source.kind != Kind::Bookmarks;
    item.LastScanDate = Date::distantPast();
    item.Path = source.path;
    item.Indexer = source.indexer;
    item.UserItem = true;
    return item;
}

// ---- Places in the list

int rankOf(const SearchItem& item) {
    if (readsCache(item.Indexer)) return 0;
    return item.Indexer.ends_with("History") ? 1 : 2;
}

// Before the items that the program brings along, and behind those of a rank as high.
void putIn(std::vector<SearchItem>& list, SearchItem item) {
    const auto at = std::find_if(list.begin(), list.end(), [&item](const SearchItem& each) {
        return !each.UserItem || rankOf(each) > rankOf(item);
    });
    list.insert(at, std::move(item));
}

}  // namespace

std::string browserName(const BrowserProfile& profile) {
    return profile.packaging.empty() ? profile.browser
                                     : profile.browser + " (" + profile.packaging + ")";
}

std::vector<BrowserItems> browserItems(const std::vector<BrowserProfile>& profiles,
                                       const std::vector<SearchItem>& list, const Paths& paths) {
    ReadFiles files(list, paths);
    Naming naming(profiles, list);
    std::vector<BrowserItems> result;
    for (const BrowserProfile& profile : profiles) {
        BrowserItems& items = result.emplace_back(BrowserItems{profile, {}});
        for (const BrowserSource& source : profile.sources) {
            BrowserItem item{itemFor(source), State::New};
            if (const auto found = files.find(item.item)) {
                item.item = list[*found];
                item.state = item.item.Index ? State::On : State::Off;
            }
            items.items.push_back(std::move(item));
        }
        naming.name(items);
    }
    return result;
}

std::vector<BrowserItems> browserItems(const std::vector<SearchItem>& list, const Paths& paths) {
    return browserItems(browserProfiles(UserFolders::ofThisUser()), list, paths);
}

std::vector<SearchItem> withMissingItems(std::vector<SearchItem> list,
                                         const std::vector<SearchItem>& items, const Paths& paths) {
    ReadFiles files(list, paths);
    std::vector<SearchItem> missing;
    for (const SearchItem& item : items) {
        if (const auto found = files.find(item)) {
            list[*found].Index |= item.Index;
        } else if (!ReadFiles(missing, paths).find(item)) {
            missing.push_back(item);
        }
    }
    for (SearchItem& item : missing) {
        item.UserItem = true;
        putIn(list, std::move(item));
    }
    return list;
}

}  // namespace siftwell
