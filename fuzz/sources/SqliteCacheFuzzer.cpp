// Any bytes as a database of the newest form of the Chrome family's cache, and each of its entries
// asked for.

#include "CachedPageRules.h"
#include "base/Log.h"
#include "sources/caches/ChromiumSqliteCache.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace siftwell;
using fuzz::require;

class World {
public:
    World() {
        setLogSink([](std::string_view) {});
    }

    void run(std::string_view bytes) {
        m_folder.write("sqldb0", bytes);
        // Far less than what a fuzzer takes for an endless loop.
        ChromiumSqliteCache cache(m_folder.path(), std::chrono::seconds(2));
        for (const auto& entry : cache.entriesChangedAfter(Date::distantPast()).entries) {
            require(entry.name.starts_with("sqldb000:"));
            fuzz::requirePage(cache.page(entry.name));
        }
    }

private:
    TemporaryFolder m_folder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    world.run(fuzz::asText(data, size));
    return 0;
}
