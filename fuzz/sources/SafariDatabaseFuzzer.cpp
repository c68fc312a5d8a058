// The first byte says how the others, the bytes of a database, are read: as a history, as a cache,
// or one entry of a cache by its number. Whatever they hold, reading ends, and no body comes from
// outside of the cache's folder.

#include <array>

#include "InputDatabase.h"
#include "Require.h"
#include "base/Exception.h"
#include "base/Log.h"
#include "sources/safari/SafariCacheDatabase.h"
#include "sources/safari/SafariDatabase.h"
#include "sources/safari/SafariHistoryDatabase.h"

namespace {

using namespace siftwell;
using fuzz::require;

const std::string kThreshold = "2001-01-02 00:00:00";
constexpr std::string_view kSecret = "what lies beside the folder of bodies";
constexpr int kMostRows = 1000;

void requireBody(const CachedURLResponse& response) { require(response.data != kSecret); }

void readHistory(PLSqliteDatabase& database, const std::string&) {
    int rows = 0;
    readSafariVisits(database, kThreshold, [&rows](const BrowserEntry& visit) {
        require(visit.date && *visit.date > Date::fromReference(86'000));
        return ++rows < kMostRows;
    });
}
void readCache(PLSqliteDatabase& database, const std::string& folder) {
    int rows = 0;
    readSafariCache(database, folder, kThreshold, [&rows](const SafariCacheEntry& entry) {
        requireBody(entry.response);
        return ++rows < kMostRows;
    });
}
void readEntry(PLSqliteDatabase& database, const std::string&) {
    readBackSafariCache(database, 1, requireBody);
}
constexpr std::array kReaders{readHistory, readCache, readEntry};

class World {
public:
    World() {
        setLogSink([](std::string_view) {});
        m_folder.write("secret", kSecret);
        m_folder.write("fsCachedData/body", "<p>");
    }

    void run(decltype(&readHistory) reader, std::string_view bytes) {
        const fuzz::InputDatabase input(m_folder, bytes);
        // Far less than what a fuzzer takes for an endless loop.
        const auto database = openInPlace(input.path(), std::chrono::seconds(2));
        if (database == nullptr) return;
        try {
            reader(*database, m_folder.path());
        } catch (const NamedException&) {
        }
    }

private:
    TemporaryFolder m_folder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    if (size == 0) return 0;
    world.run(kReaders.at(data[0] % kReaders.size()), fuzz::asText(data, size).substr(1));
    return 0;
}
