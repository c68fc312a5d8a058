// FirefoxBookmarks: the bookmarks of a profile's database, or, where there is none, those of its
// newest backup.
#pragma once

#include "indexers/TaskIndexer.h"

namespace siftwell {

class FirefoxBookmarks : public TaskIndexer {
public:
    using TaskIndexer::TaskIndexer;

protected:
    std::vector<std::string> pathsToRead() override;
};

}  // namespace siftwell
