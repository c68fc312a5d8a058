// Any bytes as each form of a link file. What is read of a fork lies within it.

#include <string>

#include "Require.h"
#include "sources/LinkFile.h"

namespace {

using namespace siftwell;
using fuzz::require;

void requirePart(std::string_view part, std::string_view whole) {
    require(part.data() >= whole.data());
    require(part.data() + part.size() <= whole.data() + whole.size());
}

void readFork(std::string_view fork) {
    for (const std::uint16_t id : {std::uint16_t{0}, std::uint16_t{256}}) {
        if (const auto resource = resourceInFork(fork, "url ", id)) requirePart(*resource, fork);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::asText(data, size);
    readFork(bytes);
    if (const auto fork = resourceForkInAppleDouble(bytes)) {
        requirePart(*fork, bytes);
        readFork(*fork);
    }
    const auto address = addressInLinkPropertyList(bytes);
    require(!address || !address->empty());
    return 0;
}
