#include <gmock/gmock.h>

#include "text/Base64.h"
#include "text/ByteBlock.h"
#include "text/MIMEMapper.h"

namespace siftwell {
namespace {

using testing::Optional;

TEST(Base64Test, LastShortGroupBeginsALineEvenAtTheStart) {
    EXPECT_EQ(base64Encode("abc"), "YWJj");
    EXPECT_EQ(base64Encode("ab"), "\r\nYWI=");
    EXPECT_EQ(base64Encode("a"), "\r\nYQ==");
    EXPECT_EQ(base64Encode("abcd"), "YWJjZA==");
    EXPECT_EQ(base64Encode(""), "");
    EXPECT_EQ(base64Encode(std::string_view("abc\0def", 7)), "YWJj");
    EXPECT_EQ(base64Encode("\u00FF\u00FE\xFF"), "w7/Dvv8=");
}

TEST(Base64Test, FullLinesHold72Characters) {
    std::string line;
    for (int i = 0; i < 18; ++i) line += "YWJj";
    std::string bytes;
    for (int i = 0; i < 18; ++i) bytes += "abc";
    EXPECT_EQ(base64Encode(bytes), line);
    EXPECT_EQ(base64Encode(bytes + "a"), line + "\r\nYQ==");
    EXPECT_EQ(base64Encode(bytes + bytes + "abc"), line + "\r\n" + line + "\r\nYWJj");
}

TEST(MIMEMapperTest, ExtensionsAreKnownAsTheyAreWritten) {
    const MIMEMapper& mapper = MIMEMapper::sharedMapper();
    EXPECT_THAT(mapper.mimeTypeForExtension("tar"),
                Optional(std::string_view("application/x-tar")));
    EXPECT_THAT(mapper.mimeTypeForExtension("tiff"), Optional(std::string_view("image/x-tiff")));
    EXPECT_THAT(mapper.mimeTypeForExtension("xwd"),
                Optional(std::string_view("image/x-xwindowdump")));
    EXPECT_THAT(mapper.mimeTypeForExtension("pdf"),
                Optional(std::string_view("application/x-pdf")));
    EXPECT_THAT(mapper.mimeTypeForExtension("cab"),
                Optional(std::string_view("application/x-shockwave-flash")));
    EXPECT_THAT(mapper.mimeTypeForExtension("c++"), Optional(std::string_view("text/plain")));
    EXPECT_THAT(mapper.mimeTypeForExtension("ai"),
                Optional(std::string_view("application/postscript")));
    EXPECT_EQ(mapper.mimeTypeForExtension("HTML"), std::nullopt);
    EXPECT_EQ(mapper.mimeTypeForExtension(""), std::nullopt);
    EXPECT_EQ(mapper.mimeTypeForExtension("zzz"), std::nullopt);
}

TEST(ByteBlockTest, MachinesWithoutTheInstructionSeeTheSameBits) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i * 37);
    for (std::size_t at = 0; at + ByteBlock::kSize <= bytes.size(); ++at) {
        const ByteBlock block = ByteBlock::load(bytes.data() + at);
        EXPECT_EQ(block.topBits(), block.topBitsOneByOne());
    }
}

}  // namespace
}  // namespace siftwell
