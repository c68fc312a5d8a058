// Link files and web archives of Mac OS X.

#include <gmock/gmock.h>
#include <sys/xattr.h>

#include "WebArchiveBytes.h"
#include "sources/LinkFile.h"
#include "sources/WebArchive.h"
#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

std::string bigEndian(std::uint32_t number, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        text += static_cast<char>(number >> shift & 0xFF);
    }
    return text;
}
std::string u16(std::uint32_t number) { return bigEndian(number, 2); }
std::string u32(std::uint32_t number) { return bigEndian(number, 4); }
std::uint32_t sizeOf(const std::string& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

// With "TEXT" 256 before "url " 128 and 256.
std::string forkWith(const std::string& address) {
    const std::string data = u32(1) + "t" + u32(1) + "x" + u32(sizeOf(address)) + address;
    const auto reference = [](std::uint32_t id, std::uint32_t at) {
        return u16(id) + u16(0xFFFF) + bigEndian(at, 4) + u32(0);
    };
    const std::string types = u16(1) + "TEXT" + u16(0) + u16(18) + "url " + u16(1) + u16(30) +
                              reference(256, 0) + reference(128, 5) + reference(256, 10);
    const std::string map = std::string(24, '\0') + u16(28) + u16(28 + sizeOf(types)) + types;
    return u32(16) + u32(16 + sizeOf(data)) + u32(sizeOf(data)) + u32(sizeOf(map)) + data + map;
}

std::string companionWith(const std::string& fork) {
    return u32(0x00051607) + u32(0x00020000) + std::string(16, ' ') + u16(2) + u32(9) + u32(50) +
           u32(2) + u32(2) + u32(52) + u32(sizeOf(fork)) + "xx" + fork;
}

std::string propertyList(const std::string& address) {
    return serializePropertyList(PropertyList::Dictionary{{"URL", address}});
}

TEST(LinkFileTest, TheResourceForkComesBeforeThePropertyList) {
    const TemporaryFolder folder;
    const std::string link = folder.write("a.webloc", propertyList("http://list/"));
    EXPECT_EQ(addressInLinkFile(link), "http://list/");
    if (setxattr(link.c_str(), "user.com.apple.ResourceFork", forkWith("http://mark/").data(),
                 forkWith("http://mark/").size(), 0) == 0) {
        EXPECT_EQ(addressInLinkFile(link), "http://mark/");
    }
    folder.write("._a.webloc", companionWith(forkWith("http://fork/\xC3\xA4")));
    EXPECT_EQ(addressInLinkFile(link), "http://fork/\xC3\xA4");
    EXPECT_EQ(addressInLinkFile(folder.file("._a.webloc")), std::nullopt);
    EXPECT_EQ(addressInLinkFile(folder.file("missing.webloc")), std::nullopt);
}

TEST(LinkFileTest, DamagedForksHoldNothing) {
    const std::string whole = companionWith(forkWith("http://h/"));
    const auto read = [](std::string_view bytes) -> std::optional<std::string_view> {
        const auto fork = resourceForkInAppleDouble(bytes);
        return fork ? resourceInFork(*fork, "url ", 256) : std::nullopt;
    };
    EXPECT_EQ(read(whole), "http://h/");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(read(whole.substr(0, size)), std::nullopt) << size;
    }
    EXPECT_EQ(resourceInFork(forkWith("x"), "url ", 257), std::nullopt);
    EXPECT_EQ(resourceInFork(forkWith("x"), "URL ", 256), std::nullopt);
}

TEST(WebArchiveTest, ResourcesAndFramesAreReadInTheirOrder) {
    PropertyList::Dictionary damaged = *webResource("http://h/x").asDictionary();
    damaged.erase("WebResourceData");
    PropertyList page =
        webArchive("http://h/", {"http://h/1", "http://h/2"},
                   {webArchive("http://h/frame"), "no archive", webArchive("b a d")});
    (*page.asDictionary())["WebSubresources"].asArray()->push_back(damaged);
    const auto archive = WebArchive::initWithData(serializePropertyList(page));
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->mainResource.url.absoluteString(), "http://h/");
    EXPECT_EQ(archive->mainResource.mimeType, "text/html");
    EXPECT_EQ(archive->mainResource.textEncodingName, "UTF-8");
    EXPECT_THAT(archive->mainResource.data, testing::HasSubstr("words of http://h/"));
    ASSERT_EQ(archive->subresources.size(), 2U);
    EXPECT_EQ(archive->subresources[1].url.absoluteString(), "http://h/2");
    ASSERT_EQ(archive->subframeArchives.size(), 1U);
    EXPECT_EQ(archive->subframeArchives[0].mainResource.url.absoluteString(), "http://h/frame");

    page.asDictionary()->erase("WebMainResource");
    EXPECT_FALSE(WebArchive::initWithData(serializePropertyList(page)));
    EXPECT_FALSE(WebArchive::initWithData("not a property list"));
}

TEST(WebArchiveTest, FramesThatLieTooDeepAreRefused) {
    PropertyList page = webArchive("http://h/");
    for (int i = 0; i < 200; ++i) page = webArchive("http://h/", {}, {std::move(page)});
    EXPECT_TRUE(WebArchive::initWithData(serializePropertyList(page)));
    for (int i = 0; i < 100; ++i) page = webArchive("http://h/", {}, {std::move(page)});
    EXPECT_FALSE(WebArchive::initWithData(serializePropertyList(page)));
}

}  // namespace
}  // namespace siftwell
