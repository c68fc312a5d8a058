// SafariHistory indexes the pages that Safari visited, by its database or by the property list of
// its older versions; iCab's, too.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "indexers/SiftwellIndexer.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell {

class SafariHistory : public SiftwellIndexer {
public:
    SafariHistory(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    // Hands over visits later than lastURLDate(), first those of the property lists that changed,
    // then those of all databases, of which a private copy is read: the same page as often as it
    // was visited. Only property lists move lastScanDate(), so that the visits of a database alone
    // are offered at each scan; the index knows which it has.
    void performIndexingScan() override;

private:
    void readPropertyList(const std::string& path);
    void readDatabase(const std::string& path, Date laterThan);
    void readCopy(const std::shared_ptr<PLSqliteDatabase>& copy, Date laterThan);
    bool take(std::string_view address, Date visited);  // false when no more are wanted
    void handOver();

    Date m_newerThan;
    Date m_newest;
    std::vector<BatchEntry> m_found;
};

}  // namespace siftwell
