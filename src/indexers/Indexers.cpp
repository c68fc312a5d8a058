#include "indexers/Indexers.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "indexers/BrowserCacheIndexer.h"
#include "indexers/CaminoBookmarks.h"
#include "indexers/FirefoxBookmarks.h"
#include "indexers/IndexSalvager.h"
#include "indexers/InternetExplorer.h"
#include "indexers/LocalFiles.h"
#include "indexers/OmniWebHistory.h"
#include "indexers/Opera.h"
#include "indexers/SafariBookmarks.h"
#include "indexers/SafariCache.h"
#include "indexers/SafariHistory.h"
#include "indexers/SingleURL.h"
#include "indexers/URLExtractor.h"
#include "records/IndexerNames.h"

namespace siftwell {

namespace {

using Surroundings = SiftwellIndexer::Surroundings;
using Record = std::shared_ptr<SearchItemRecord>;

using Make = std::unique_ptr<SiftwellIndexer> (*)(const Surroundings&, Record, const std::string&);

template <typename Indexer>
std::unique_ptr<SiftwellIndexer> makeNamed(const Surroundings& surroundings, Record searchItem,
                                           const std::string& className) {
    return std::make_unique<Indexer>(surroundings, std::move(searchItem), className);
}

template <typename Indexer>
std::unique_ptr<SiftwellIndexer> make(const Surroundings& surroundings, Record searchItem,
                                      const std::string&) {
    return std::make_unique<Indexer>(surroundings, std::move(searchItem));
}

struct Registration {
    std::string_view className;
    Make make;
};

constexpr std::array<Registration, 21> kIndexers = {
    {{"CaminoBookmarks", make<CaminoBookmarks>},
     {"ChromeCache", makeNamed<BrowserCacheIndexer>},
     {"ChromeHistory", makeNamed<TaskIndexer>},
     {"EpiphanyHistory", makeNamed<TaskIndexer>},
     {"FalkonHistory", makeNamed<TaskIndexer>},
     {"FirefoxBookmarks", makeNamed<FirefoxBookmarks>},
     {"FirefoxCache", makeNamed<BrowserCacheIndexer>},
     {"FirefoxHistory", makeNamed<TaskIndexer>},
     {"FlockBookmarks", makeNamed<TaskIndexer>},
     {"IndexSalvager", make<IndexSalvager>},
     {"InternetExplorer", make<InternetExplorer>},
     {"LocalFiles", make<LocalFiles>},
     {"OmniWebHistory", make<OmniWebHistory>},
     {"Opera", make<Opera>},
     {"QutebrowserHistory", makeNamed<TaskIndexer>},
     {"SafariBookmarks", make<SafariBookmarks>},
     {"SafariCache", make<SafariCache>},
     {"SafariHistory", make<SafariHistory>},
     {"ShiiraBookmarks", makeNamed<TaskIndexer>},
     {"SingleURL", make<SingleURL>},
     {"URLExtractor", make<URLExtractor>}}};

}  // namespace

std::unique_ptr<SiftwellIndexer> makeIndexer(const std::string& className,
                                             const Surroundings& surroundings, Record searchItem) {
    for (const Registration& registration : kIndexers) {
        if (registration.className == className) {
            return registration.make(surroundings, std::move(searchItem), className);
        }
    }
    return nullptr;
}

bool hasIndexer(const std::string& className) {
    return std::any_of(kIndexers.begin(), kIndexers.end(), [&className](const auto& registration) {
        return registration.className == className;
    });
}

bool worksWithoutNetwork(const SearchItem& item) {
    if (item.Indexer == "LocalFiles" || readsCache(item.Indexer)) return true;
    if (item.Indexer != "SingleURL") return false;
    const auto url = Url::parse(item.Path);
    return !url || !url->hasScheme() || url->isFile();
}

}  // namespace siftwell
