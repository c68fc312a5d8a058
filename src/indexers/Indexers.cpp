#include "indexers/Indexers.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "indexers/InternetExplorer.h"
#include "indexers/LocalFiles.h"
#include "indexers/SingleURL.h"
#include "indexers/URLExtractor.h"

namespace siftwell {

namespace {

using Surroundings = SiftwellIndexer::Surroundings;
using Record = std::shared_ptr<SearchItemRecord>;

template <typename Indexer>
std::unique_ptr<SiftwellIndexer> make(const Surroundings& surroundings, Record searchItem) {
    return std::make_unique<Indexer>(surroundings, std::move(searchItem));
}

struct Registration {
    std::string_view className;
    std::unique_ptr<SiftwellIndexer> (*make)(const Surroundings&, Record);
};

constexpr std::array<Registration, 4> kIndexers = {{{"InternetExplorer", make<InternetExplorer>},
                                                    {"LocalFiles", make<LocalFiles>},
                                                    {"SingleURL", make<SingleURL>},
                                                    {"URLExtractor", make<URLExtractor>}}};

}  // namespace

std::unique_ptr<SiftwellIndexer> makeIndexer(const std::string& className,
                                             const Surroundings& surroundings, Record searchItem) {
    for (const Registration& registration : kIndexers) {
        if (registration.className == className) {
            return registration.make(surroundings, std::move(searchItem));
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
    if (item.Indexer == "LocalFiles" || item.Indexer == "SafariCache") return true;
    if (item.Indexer != "SingleURL") return false;
    const auto url = Url::parse(item.Path);
    return !url || !url->hasScheme() || url->isFile();
}

}  // namespace siftwell
