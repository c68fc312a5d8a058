#include <gmock/gmock.h>
#include <plist/plist.h>

#include "sources/TypedArchiveWriter.h"
#include "sources/archives/ArchivedResponse.h"
#include "sources/archives/ArchivedValues.h"
#include "sources/archives/BrindleArchive.h"
#include "sources/archives/KeyedArchive.h"
#include "sources/archives/TypedArchive.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::Pair;

using Names = std::vector<std::string>;
const Names kRequest = {"NSMutableURLRequest", "NSURLRequest", "NSObject"};
const Names kResponse = {"NSHTTPURLResponse", "NSURLResponse", "NSObject"};
const Names kCachedResponse = {"NSCachedURLResponse", "NSObject"};

// A response as the platform lists it: its address, time, status, header and length.
TypedArchiveWriter& response(TypedArchiveWriter& archive) {
    return archive.begin(kResponse)
        .types("ii")
        .integer(8)
        .integer(7)
        .url("http://host/page")
        .numberObject(388430153)
        .numberObject(200)
        .dictionary({{"content-type", "Text/HTML; charset=\"UTF-8\""}, {"Server", "x"}})
        .numberObject(70000)
        .nil()
        .end();
}

std::string platformArchive(bool isBigEndian) {
    TypedArchiveWriter archive(isBigEndian);
    archive.begin(kRequest).types("i").integer(5).end();
    response(archive.begin(kCachedResponse)).data("<html>").dictionary({{"k", "v"}}).end();
    return archive.bytes();
}

// A request and a response with Brindle's order of fields.
std::string brindleArchive(bool hasData, bool hasWholeRequest) {
    TypedArchiveWriter archive;
    archive.begin(kRequest).url("http://host/asked").nil();
    archive.dictionary({{"Accept", "*/*"}}).string("POST").data("body");
    archive.types("Q").integer(3).types("d").real(2.5);
    if (hasWholeRequest) archive.types("c").number(0, 1);
    archive.end().begin(kCachedResponse);
    hasData ? archive.data("<p>") : archive.nil();
    response(archive).nil().types("Q").integer(2).end();
    return archive.bytes();
}

void expectPage(const std::optional<CachedURLResponse>& cached) {
    ASSERT_TRUE(cached.has_value());
    EXPECT_EQ(cached->data, "<html>");
    EXPECT_EQ(cached->response.url.absoluteString(), "http://host/page");
    EXPECT_EQ(cached->response.mimeType, "text/html");
    EXPECT_EQ(cached->response.textEncodingName, "UTF-8");
    EXPECT_EQ(cached->response.statusCode, 200);
    EXPECT_EQ(cached->response.expectedContentLength, 70000);
    EXPECT_THAT(cached->userInfo, ElementsAre(Pair("k", PropertyList("v"))));
}

TEST(TypedArchiveTest, ReadsValuesOfEveryType) {
    constexpr std::string_view kBytes =
        "\x04\x0B"
        "streamtyped\x81\xE8\x03"
        "\x84\x0A"
        "cCsIqf[2s]\x80\xFF\x85";  // the last is a fault
    EXPECT_THAT(readTypedArchive(kBytes, 9)->roots, testing::IsEmpty());
    for (const bool isBigEndian : {false, true}) {
        TypedArchiveWriter archive(isBigEndian);
        archive.types("cCsIqd[3c]{p=i[2s]}*");
        archive.raw("\x80\xFF").integer(-300).integer(128).integer(-70000).real(0.1);
        archive.raw("abc").integer(1).integer(2).integer(3).raw("\x84\x84\x02no");
        const auto read = readTypedArchive(archive.bytes(), 20);
        ASSERT_TRUE(read.has_value());
        const auto& roots = read->roots;
        ASSERT_EQ(roots.size(), 11U);
        const std::vector<std::int64_t> expected = {-128, 255, -300, 128, -70000};
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(std::get<std::int64_t>(roots[i]), expected[i]);
        }
        EXPECT_EQ(std::get<double>(roots[5]), 0.1);
        EXPECT_EQ(std::get<ArchivedData>(roots[6]).bytes, "abc");
        EXPECT_EQ(std::get<std::int64_t>(roots[9]), 3);
        EXPECT_EQ(std::get<std::string_view>(roots[10]), "no");
    }
}

// Byte for byte, so that the reader is not only the writer's mirror.
TEST(TypedArchiveTest, StringsObjectsAndClassesAreReferredToByNumber) {
    constexpr char kBytes[] =
        "\x04\x0Bstreamtyped\x81\xE8\x03"
        "\x84\x01@\x84\x84\x84\x08NSString\x01\x84\x84\x08NSObject\x00\x85\x84\x01+\x02hi\x86"
        "\x92\x84\x93\x95\x03you\x86"
        "\x92\x92";
    const auto archive = readTypedArchive({kBytes, sizeof kBytes - 1}, 9);
    ASSERT_TRUE(archive.has_value());
    ASSERT_EQ(archive->roots.size(), 3U);
    EXPECT_EQ(stringIn(*archive, archive->roots[0]), "hi");
    EXPECT_EQ(stringIn(*archive, archive->roots[1]), "you");
    EXPECT_EQ(stringIn(*archive, archive->roots[2]), "hi");
    EXPECT_TRUE(isKindOf(*archive, archive->roots[1], "NSObject"));
}

TEST(TypedArchiveTest, LiesEndTheReading) {
    const auto roots = [](std::string_view behindHeader) {
        TypedArchiveWriter archive;
        return readTypedArchive(archive.raw(behindHeader).bytes(), 9)->roots.size();
    };
    EXPECT_EQ(readTypedArchive("\x04\x0Bstreamtypex\x81\xE8\x03", 9), std::nullopt);
    EXPECT_EQ(readTypedArchive("", 9), std::nullopt);
    EXPECT_EQ(roots("\x84\x01+\x82\xFF\xFF\xFF\x7F"), 0U);  // a string of 2 GB
    EXPECT_EQ(roots("\x84\x0D[4294967295c]x"), 0U);         // an array
    EXPECT_EQ(roots("\x84\x01@\x92"), 0U);                  // the first object, before it is there
    EXPECT_EQ(roots("\x84\x01@\x84\x84\x84\x01"
                    "A\x01\x92\x86"),
              0U);                 // an object as a class
    EXPECT_EQ(roots("\x93"), 0U);  // a type that nobody wrote
    EXPECT_EQ(roots("\x84\x01?x"), 0U);
    EXPECT_EQ(roots("\x84\x03{a=x"), 0U);
    EXPECT_EQ(roots("\x84\x01i\x05\x92\x06\x92"), 2U);  // those before the damage
}

TEST(TypedArchiveTest, DepthAndNumberAndWorkAreBounded) {
    TypedArchiveWriter deep;
    for (int i = 0; i < 200'000; ++i) deep.begin({"NSArray"});
    EXPECT_TRUE(readTypedArchive(deep.bytes(), 2)->roots.empty());

    const std::string brackets(100'000, '{');
    EXPECT_TRUE(readTypedArchive(TypedArchiveWriter().types(brackets).bytes(), 2)->roots.empty());

    // A long type that takes no bytes, referred to again and again.
    std::string nothing;
    for (int i = 0; i < 10'000; ++i) nothing += "{=}";
    TypedArchiveWriter busy;
    busy.types(nothing).raw(std::string(1'000'000, '\x92'));
    EXPECT_TRUE(readTypedArchive(busy.bytes(), 2)->roots.empty());

    TypedArchiveWriter many;
    many.begin({"NSArray"}).types("[900000i]").raw(std::string(900'000, '\1')).end();
    EXPECT_TRUE(readTypedArchive(many.bytes(), 2)->roots.empty());
}

TEST(ArchivedResponseTest, ReadsThePlatformsSequentialArchive) {
    expectPage(cachedResponseForData(platformArchive(false), "/cache/1"));
    expectPage(cachedResponseForData(platformArchive(true), "/cache/1"));
}

TEST(ArchivedResponseTest, EveryBeginningOfAnArchiveIsSafeToRead) {
    const std::string whole = platformArchive(false);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_FALSE(cachedResponseForData(whole.substr(0, i), "/Brindle/1")) << i;
    }
}

TEST(ArchivedResponseTest, OnlyFilesOfBrindleHaveItsFields) {
    const std::string archive = brindleArchive(false, true);
    EXPECT_FALSE(cachedResponseForData(archive, "/cache/1"));
    const auto cached = cachedResponseForData(archive, "/x/BRINDLE/1");
    ASSERT_TRUE(cached.has_value());
    EXPECT_EQ(cached->data, "");
    EXPECT_EQ(cached->storagePolicy, 2U);
    EXPECT_EQ(cached->response.statusCode, 200);
    EXPECT_FALSE(cachedResponseForData(brindleArchive(false, false), "/x/brindle/1"))
        << "the request in front lacks a field";
}

TEST(ArchivedResponseTest, ReadsTheFieldsOfARequestInTheirOrder) {
    const std::string bytes = brindleArchive(true, true);
    const auto archive = readTypedArchive(bytes, 2);
    ASSERT_EQ(archive->roots.size(), 2U);
    const auto request = BrindleURLRequest::initWithCoder(*archive, archive->roots[0]);
    ASSERT_TRUE(request.has_value());
    EXPECT_EQ(request->url.absoluteString(), "http://host/asked");
    EXPECT_EQ(request->mainDocumentURL, std::nullopt);
    EXPECT_THAT(request->allHTTPHeaderFields, ElementsAre(Pair("Accept", "*/*")));
    EXPECT_EQ(request->HTTPMethod, "POST");
    EXPECT_EQ(request->HTTPBody, "body");
    EXPECT_EQ(request->cachePolicy, 3U);
    EXPECT_EQ(request->timeoutInterval.count(), 2.5);
    EXPECT_FALSE(request->HTTPShouldHandleCookies);
    EXPECT_FALSE(BrindleURLRequest::initWithCoder(*archive, archive->roots[1]));
}

std::string uid(int number) {
    return "<dict><key>CF$UID</key><integer>" + std::to_string(number) + "</integer></dict>";
}

std::string classNamed(std::string_view name) {
    return "<dict><key>$classes</key><array><string>" + std::string(name) +
           "</string><string>NSObject</string></array></dict>";
}

std::string listOf(std::string_view objects) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>$objects</key><array>"
           "<string>$null</string>" +
           std::string(objects) + "</array><key>$top</key><dict><key>$0</key>" + uid(0) +
           "<key>$1</key>" + uid(1) + "</dict></dict></plist>";
}

// Object 1 is the page, 2 the response, 3 and 4 addresses; `base` is that of the first.
std::string keyedArchive(int base) {
    return listOf(
        "<dict><key>$class</key>" + uid(10) + "<key>data</key><data>PGh0bWw+</data>" +
        "<key>response</key>" + uid(2) + "<key>userInfo</key>" + uid(5) +
        "<key>storagePolicy</key><integer>1</integer></dict>" +
        // Written in the order of names, read in that of numbers.
        "<dict><key>$10</key><integer>9</integer><key>$2</key>" + uid(3) + "<key>$5</key>" +
        "<integer>200</integer><key>$6</key>" + uid(6) + "<key>$7</key><integer>70000</integer>" +
        "<key>$class</key>" + uid(11) + "</dict>" + "<dict><key>NS.base</key>" + uid(base) +
        "<key>NS.relative</key><string>/page</string>" + "<key>$class</key>" + uid(12) + "</dict>" +
        "<dict><key>NS.base</key>" + uid(0) +
        "<key>NS.relative</key><string>http://host/</string>" + "<key>$class</key>" + uid(12) +
        "</dict>" + "<dict><key>NS.keys</key><array>" + uid(7) +
        "</array><key>NS.objects</key><array>" + uid(8) + "</array><key>$class</key>" + uid(13) +
        "</dict>" + "<dict><key>NS.keys</key><array><string>Content-Type</string></array>" +
        "<key>NS.objects</key><array><string>text/html;charset=UTF-8</string></array>" +
        "<key>$class</key>" + uid(13) + "</dict><string>k</string><string>v</string>" +
        "<string/>" + classNamed("NSCachedURLResponse") + classNamed("NSURLResponse") +
        classNamed("NSURL") + classNamed("NSDictionary"));
}

TEST(ArchivedResponseTest, ReadsTheKeyedArchiveInXml) {
    const std::string archive = keyedArchive(4);
    expectPage(cachedResponseForData(archive, "/cache/1"));
    expectPage(cachedResponseForData("\xEF\xBB\xBF" + archive, "/cache/1"));
    std::string wide = "\xFF\xFE";
    for (const char c : archive) wide += {c, '\0'};
    expectPage(cachedResponseForData(wide, "/cache/1"));
    EXPECT_EQ(cachedResponseForData(archive, "")->storagePolicy, 1U);
}

TEST(ArchivedResponseTest, ReferencesInCirclesAndToNowhereAreNothing) {
    for (const int base : {999, 3}) {  // nowhere, and itself: the address stays relative
        EXPECT_FALSE(cachedResponseForData(keyedArchive(base), "/1")) << base;
    }
    // A page that holds itself as its header and information.
    const std::string self = "<dict><key>$class</key>" + uid(2) + "<key>userInfo</key>" + uid(1) +
                             "<key>NS.keys</key><array>" + uid(3) + uid(1) + "</array>" +
                             "<key>NS.objects</key><array>" + uid(1) + uid(1) + "</array></dict>";
    const std::string bytes = listOf(self + classNamed("NSDictionary") + "<string>k</string>");
    const auto archive = readKeyedArchive(bytes, 2);
    ASSERT_TRUE(archive.has_value());
    ASSERT_EQ(archive->roots.size(), 2U);
    int depth = 0;
    const PropertyList::Dictionary nested = dictionaryIn(*archive, archive->roots[1]);
    for (const auto* level = &nested; level && !level->empty(); ++depth) {
        level = level->begin()->second.asDictionary();
    }
    EXPECT_LE(depth, 17);
}

TEST(ArchivedResponseTest, SharedContainersDoNotMultiply) {
    // Lists of ten, each holding the next ten times: 10^8 values.
    std::string objects;
    for (int level = 1; level <= 8; ++level) {
        objects += "<dict><key>$class</key>" + uid(9) + "<key>NS.objects</key><array>";
        for (int i = 0; i < 10; ++i) objects += uid(level == 8 ? 11 : level + 1);
        objects += "</array></dict>";
    }
    objects += classNamed("NSArray") + "<dict><key>$class</key>" + uid(12) +
               "<key>NS.keys</key><array>" + uid(11) + "</array><key>NS.objects</key><array>" +
               uid(1) + "</array></dict>" + "<string>" + std::string(1000, 'x') + "</string>" +
               classNamed("NSDictionary");
    const auto archive = readKeyedArchive(listOf(objects), 2);
    ASSERT_TRUE(archive.has_value());
    const auto dictionary = dictionaryIn(*archive, ArchivedReference{10});
    EXPECT_EQ(dictionary.size(), 1U);
}

TEST(KeyedArchiveTest, ReadsTheReferencesOfBinaryLists) {
    const std::string xml = listOf("<string>text</string>");
    plist_t list = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
    plist_dict_set_item(plist_dict_get_item(list, "$top"), "$1", plist_new_uid(1));
    char* binary = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(list, &binary, &length);
    const std::string bytes(binary, length);
    std::free(binary);
    plist_free(list);
    const auto archive = readKeyedArchive(bytes, 2);
    ASSERT_TRUE(archive.has_value());
    ASSERT_EQ(archive->roots.size(), 2U);
    EXPECT_TRUE(isNothing(archive->roots[0]));
    EXPECT_EQ(stringIn(*archive, archive->roots[1]), "text");
}

}  // namespace
}  // namespace siftwell
