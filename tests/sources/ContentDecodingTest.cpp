#include "sources/caches/ContentDecoding.h"

#include <gmock/gmock.h>

#include "CacheBytes.h"

namespace siftwell {
namespace {

using namespace cachebytes;

constexpr std::size_t kRoom = 1 << 20;

std::optional<std::string> decoded(const std::string& bytes,
                                   const std::vector<std::string>& codings,
                                   std::size_t room = kRoom) {
    return decodedContent(bytes, codings, room);
}

TEST(ContentDecodingTest, EveryCodingIsUndone) {
    EXPECT_EQ(decoded(kBody, {}), kBody);
    EXPECT_EQ(decoded(gzipped(kBody), {"gzip"}), kBody);
    EXPECT_EQ(decoded(gzipped(kBody) + "and more", {"x-gzip"}), kBody);
    EXPECT_EQ(decoded(deflated(kBody, 15), {"deflate"}), kBody);
    EXPECT_EQ(decoded(deflated(kBody, -15), {"deflate"}), kBody);
    EXPECT_EQ(decoded(brotli(kBody), {"br"}), kBody);
    EXPECT_EQ(decoded(zstd(kBody) + zstd("next"), {"zstd"}), kBody + "next");
    EXPECT_EQ(decoded(brotli(gzipped(zstd(kBody))), {"zstd", "gzip", "br"}), kBody);
}

TEST(ContentDecodingTest, WhatIsUnknownOrPackedTooOftenIsRefused) {
    EXPECT_EQ(decoded(kBody, {"compress"}), std::nullopt);
    EXPECT_EQ(decoded(gzipped(gzipped(kBody)), {"gzip", "x-gzip"}), std::nullopt);
    EXPECT_EQ(
        decoded(deflated(brotli(gzipped(zstd(kBody))), 15), {"zstd", "gzip", "br", "deflate"}),
        std::nullopt);
    EXPECT_EQ(decoded(gzipped(zstd(kBody)), {"gzip", "zstd"}), std::nullopt);
}

TEST(ContentDecodingTest, WhatEndsTooSoonIsRefused) {
    const std::vector<std::pair<std::string, std::string>> packed = {
        {"gzip", gzipped(kBody)},
        {"deflate", deflated(kBody, 15)},
        {"br", brotli(kBody)},
        {"zstd", zstd(kBody)}};
    for (const auto& [coding, bytes] : packed) {
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_EQ(decoded(bytes.substr(0, size), {coding}), std::nullopt) << coding << size;
        }
    }
}

TEST(ContentDecodingTest, NothingUnpacksToMoreThanThereIsRoomFor) {
    const std::string large(kRoom + 1, 'x');
    EXPECT_EQ(decoded(large, {}), std::nullopt);
    EXPECT_EQ(decoded(gzipped(large), {"gzip"}), std::nullopt);
    EXPECT_EQ(decoded(gzipped(large), {"gzip"}, large.size()), large);
    EXPECT_EQ(decoded(zstd(large), {"zstd"}), std::nullopt);
    // Nor on the way.
    EXPECT_EQ(decoded(zstd(gzipped(large)), {"gzip", "zstd"}), std::nullopt);
}

}  // namespace
}  // namespace siftwell
