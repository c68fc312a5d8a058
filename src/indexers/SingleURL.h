// SingleURL indexes exactly what its item's path names: one page of the web, at every scan, or one
// file, when it was changed.
#pragma once

#include <memory>
#include <string>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class SingleURL : public SiftwellIndexer {
public:
    SingleURL(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // A file that is missing, or of a type that cannot be read, is reported with severity 6.
    void performIndexingScan() override;

private:
    void hand(const Url& url, Date date);
    void indexFile(const Url& url);
};

}  // namespace siftwell
