#include <gtest/gtest.h>

#include "text/Base64.h"
#include "text/ByteBlock.h"
#include "text/MIMEMapper.h"
#include "text/TitleText.h"

namespace siftwell {
namespace {

TEST(Base64Test, FullLinesHold72CharactersAndALastShortGroupBeginsALineEvenAtTheStart) {
    EXPECT_EQ(base64Encode("abc"), "YWJj");
    EXPECT_EQ(base64Encode("ab"), "\r\nYWI=");
    EXPECT_EQ(base64Encode("a"), "\r\nYQ==");
    EXPECT_EQ(base64Encode("abcd"), "YWJjZA==");
    EXPECT_EQ(base64Encode(""), "");
    EXPECT_EQ(base64Encode(std::string_view("abc\0def", 7)), "YWJj");
    EXPECT_EQ(base64Encode("\u00FF\u00FE\xFF"), "w7/Dvv8=");
    std::string line;
    std::string bytes;
    for (int i = 0; i < 18; ++i) {
        line += "YWJj";
        bytes += "abc";
    }
    EXPECT_EQ(base64Encode(bytes), line);
    EXPECT_EQ(base64Encode(bytes + "a"), line + "\r\nYQ==");
    EXPECT_EQ(base64Encode(bytes + bytes + "abc"), line + "\r\n" + line + "\r\nYWJj");
}

TEST(TitleTextTest, ATitleThatStandsTwiceIsShownOnce) {
    EXPECT_EQ(titleToShow("Moss Moss"), "Moss");
    EXPECT_EQ(titleToShow("a b a b"), "a b");
    for (const char* title : {"", " ", "Moss", "Moss moss", "MossMoss", "Moss  Moss", "aa"}) {
        EXPECT_EQ(titleToShow(title), title == std::string_view(" ") ? "" : title);
    }
}

TEST(MIMEMapperTest, ExtensionsAreKnownAsTheyAreWritten) {
    const auto typeOf = [](std::string_view extension) {
        return MIMEMapper::sharedMapper().mimeTypeForExtension(extension);
    };
    EXPECT_EQ(typeOf("tar"), "application/x-tar");
    EXPECT_EQ(typeOf("tiff"), "image/x-tiff");
    EXPECT_EQ(typeOf("xwd"), "image/x-xwindowdump");
    EXPECT_EQ(typeOf("pdf"), "application/x-pdf");
    EXPECT_EQ(typeOf("cab"), "application/x-shockwave-flash");
    EXPECT_EQ(typeOf("c++"), "text/plain");
    EXPECT_EQ(typeOf("ai"), "application/postscript");
    for (const char* unknown : {"HTML", "", "zzz"}) EXPECT_EQ(typeOf(unknown), std::nullopt);
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
