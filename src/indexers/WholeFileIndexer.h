// WholeFileIndexer: what the indexers have in common that read a file as a whole whenever it was
// changed, and hand over what is in it before they look at the next.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class WholeFileIndexer : public SiftwellIndexer {
public:
    using SiftwellIndexer::SiftwellIndexer;

    // A file that is not what it should be is passed over without moving lastScanDate().
    void performIndexingScan() final;

protected:
    using Entries = std::vector<BatchEntry>;

    // None when the file cannot be read, or is not what it should be.
    virtual std::optional<Entries> entriesInFile(const std::string& path) = 0;

    // What `parse` finds in a text file, which is told as the progress; none in an empty one.
    std::optional<Entries> entriesInTextFile(
        const std::string& path, const std::function<Entries(std::string_view text)>& parse);
    // Those that may be indexed and are dated later.
    Entries newEntries(Entries entries, Date newerThan) const;

private:
    void indexFile(const std::string& path, Date modified);
};

}  // namespace siftwell
