// Any bytes as an index file whose addresses are looked for. What is found stands in them behind
// its scheme, one behind the other, and who has enough gets no more.

#include <algorithm>
#include <string>
#include <vector>

#include "Require.h"
#include "fulltext/Salvage.h"

using namespace siftwell;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::asText(data, size);
    for (const std::string scheme : {"http", "f", ""}) {
        std::vector<std::string> found;
        std::int64_t last = -1000;
        std::size_t total = 0;
        fulltext::addressesInBytes(bytes, scheme, [&](const Url& url, std::int64_t record) {
            require(url.scheme() == scheme && record > last);
            last = record;
            total += url.resourceSpecifier().size();
            require(bytes.find(url.resourceSpecifier()) != std::string_view::npos);
            found.push_back(url.absoluteString());
            return true;
        });
        require(total <= size && (!scheme.empty() || found.empty()));
        std::size_t left = found.size() / 2 + 1;
        std::size_t given = 0;
        fulltext::addressesInBytes(bytes, scheme, [&](const Url& url, std::int64_t) {
            require(url.absoluteString() == found[given++]);
            return --left > 0;
        });
        require(given == std::min(found.size(), found.size() / 2 + 1));
    }
    return 0;
}
