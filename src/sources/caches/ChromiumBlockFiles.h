// ChromiumBlockFiles: the older form of the Chrome family's cache. An index leads to entries, which
// lie in blocks of a few large files, as do their heads and bodies unless these are long.
//
// Threads: one at a time. Errors: input is hostile; what is damaged is left out. At most
// BrowserCache::kMaxEntries are followed, and none twice. Checksums are not verified.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/Date.h"
#include "base/Status.h"
#include "records/CachedPage.h"
#include "sources/caches/ByteSource.h"

namespace siftwell {

class ChromiumBlockFiles {
public:
    // Gives the file of that name, or null.
    using OpenFile = std::function<std::unique_ptr<ByteSource>(const std::string& name)>;
    explicit ChromiumBlockFiles(OpenFile openFile) : m_openFile(std::move(openFile)) {}

    // An address within the files: which of them, and where.
    using Address = std::uint32_t;
    struct Entry {
        Address address = 0;
        Date lastUsed;
    };
    struct Listing {
        std::vector<Entry> entries;        // in rising order; none without an index
        StatusCode code = StatusCode::Ok;  // why there may be more: damage, unknown form, too many
    };
    Listing entries();

    std::optional<CachedPage> page(Address address);

private:
    struct Store;

    StatusCode findFirstEntries(std::vector<Address>& addresses);
    StatusCode followEntries(Address address, std::unordered_set<Address>& seen,
                             std::vector<Entry>& entries);
    const ByteSource* blockFile(std::uint32_t number, std::uint32_t blockBytes);
    std::optional<std::string> blocksAt(Address address, std::uint64_t length);
    std::optional<std::string> streamAt(Address address, std::uint64_t length);
    std::optional<Store> storeAt(Address address);
    std::optional<std::string> keyOf(const Store& store);
    Date lastUsed(Address entry, const Store& store, bool& isOpen);

    const OpenFile m_openFile;
    std::map<std::uint32_t, std::unique_ptr<ByteSource>> m_blockFiles;  // null: not to be read
};

}  // namespace siftwell
