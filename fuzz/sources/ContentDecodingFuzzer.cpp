// Any bytes as packed ones; the first tells in which codings. What comes out has its bounds.

#include <array>

#include "Require.h"
#include "sources/caches/ContentDecoding.h"

using namespace siftwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxBytes = 1 << 20;
    static const std::array<std::vector<std::string>, 8> codings = {{{"gzip"},
                                                                     {"deflate"},
                                                                     {"br"},
                                                                     {"zstd"},
                                                                     {"gzip", "br"},
                                                                     {"br", "gzip"},
                                                                     {"deflate", "zstd", "gzip"},
                                                                     {}}};
    if (size == 0) return 0;
    const std::string bytes(fuzz::asText(data, size).substr(1));
    const auto& chosen = codings[data[0] % codings.size()];
    const auto decoded = decodedContent(bytes, chosen, kMaxBytes);
    fuzz::require(!decoded || decoded->size() <= kMaxBytes);
    fuzz::require(!chosen.empty() || decoded == bytes);
    return 0;
}
