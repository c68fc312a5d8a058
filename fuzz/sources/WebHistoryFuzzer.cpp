// Any bytes as a history in a property list. It hands over nothing that was not asked for.

#include "Require.h"
#include "sources/safari/WebHistory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace siftwell;
    const std::string_view bytes = fuzz::asText(data, size);
    constexpr int kWanted = 3;
    int taken = 0;
    const Status status = readWebHistory(bytes, [&taken](const BrowserEntry& page) {
        fuzz::require(page.title.empty());
        fuzz::require(++taken <= kWanted);
        return taken < kWanted;
    });
    fuzz::require(status.isOk() || taken == 0);
    return 0;
}
