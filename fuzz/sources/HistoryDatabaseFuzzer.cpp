// The first byte says which reader gets the others, the bytes of a database. Whatever they hold,
// what is handed over is an address within its bounds; of a visit, later than was asked for.

#include <array>
#include <utility>

#include "InputDatabase.h"
#include "Require.h"
#include "base/Log.h"
#include "sources/browsers/ChromeHistory.h"
#include "sources/browsers/FalkonHistory.h"
#include "sources/browsers/FirefoxBookmarks.h"
#include "sources/browsers/FirefoxHistory.h"
#include "sources/browsers/GnomeWebHistory.h"
#include "sources/browsers/QutebrowserHistory.h"

namespace {

using namespace siftwell;
using fuzz::require;

constexpr Date kAfter = Date::fromUnix(1'000'000'000);

using Reader = Status (*)(BrowserDatabase&, Date, const TakeEntry&);
Status readFirefoxMarks(BrowserDatabase& database, Date after, const TakeEntry& take) {
    return readFirefoxBookmarks(database, [&](BrowserEntry entry) {
        const bool isEarlier = entry.date && *entry.date <= after;
        return isEarlier || take(std::move(entry));
    });
}

constexpr std::array<Reader, 6> kReaders{readFirefoxVisits, readFirefoxMarks,
                                         readChromeVisits,  readGnomeWebVisits,
                                         readFalkonVisits,  readQutebrowserVisits};

bool take(const BrowserEntry& entry) {
    require(isTakenAddress(entry.url));
    require(entry.title.size() <= kMaxTitleBytes);
    require(!entry.date || (*entry.date > kAfter && *entry.date <= Date::distantFuture()));
    return true;
}

class World {
public:
    World() {
        setLogSink([](std::string_view) {});
    }

    void run(Reader reader, std::string_view bytes) {
        const fuzz::InputDatabase input(m_folder, bytes);
        // Far less than what a fuzzer takes for an endless loop.
        auto database = BrowserDatabase::open(input.path(), input.path(), std::chrono::seconds(2));
        if (database) reader(*database, kAfter, take).isOk();
    }

private:
    TemporaryFolder m_folder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    if (size > 0)
        world.run(kReaders.at(data[0] % kReaders.size()), fuzz::asText(data, size).substr(1));
    return 0;
}
