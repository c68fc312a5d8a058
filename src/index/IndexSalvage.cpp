#include "index/IndexSalvage.h"

#include "base/Files.h"
#include "fulltext/Salvage.h"
#include "index/IndexNaming.h"

namespace siftwell {

Status salvageIndexFile(const std::string& path, const std::function<bool(Url url)>& take,
                        const std::function<void()>& pace) {
    const std::string scheme = schemeOfIndexName(indexNameOfFile(lastPathComponent(path)));
    return fulltext::salvageAddresses(path, scheme, fulltext::Storage::system(), take, pace);
}

}  // namespace siftwell
