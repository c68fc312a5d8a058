#include "index/IndexNaming.h"

#include <set>

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;

class IndexNamingTest : public IndexFixture {
protected:
    std::string nameOf(const std::string& address) {
        const auto document = skDocumentForURL(url(address), m_notifier);
        return document ? document->name : "none";
    }
};

TEST_F(IndexNamingTest, NoSourceLeavesTheIndexFolderHidesItsFileOrMeetsAnother) {
    EXPECT_EQ(indexNameForSource("Safari History", "HTTP"), "Safari History.http");
    EXPECT_EQ(indexNameForSource("Safari History", ""), "Safari History");
    std::set<std::string> names;
    using namespace std::string_view_literals;
    const std::vector<std::string_view> sources = {
        "a/b", "a%2Fb",           "../x", "..", ".", ".x",    "/etc/passwd", "x\ny", "%",
        "%41", "50% of \xC3\xA9", "a.b",  "A",  "a", "a\0b"sv};
    for (const std::string_view source : sources) {
        const std::string name = indexNameForSource(source, "http");
        EXPECT_EQ(name.find('/'), std::string::npos) << name;
        EXPECT_EQ(name.find('\0'), std::string::npos) << name;
        EXPECT_FALSE(name.starts_with('.')) << name;
        EXPECT_EQ(sourceOfIndexName(name), source);
        names.insert(name);
    }
    const std::string beginning(300, 'x');
    for (const std::string& source : {beginning + "1", beginning + "2", std::string()}) {
        const std::string name = indexNameForSource(source, "http");
        EXPECT_LT(name.size(), 200U);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), sources.size() + 3);

    // However accents are written, and never the name of a side file.
    EXPECT_EQ(indexNameForSource("Caf\x65\xCC\x81", "http"), "Caf\xC3\xA9.http");
    for (const char* scheme : {"Data", "damaged", "damaged2", "compacting", "repairing"}) {
        const std::string name = indexNameForSource("Pages", scheme);
        EXPECT_FALSE(isExtensionBesideIndexes(pathExtension(name))) << name;
        EXPECT_EQ(sourceOfIndexName(name), "Pages");
    }
    EXPECT_EQ(indexNameForSource("Pages", "damaged-goods"), "Pages.damaged-goods");
}

TEST_F(IndexNamingTest, YearAndMonthAreTheLegacyFormat) {
    for (const char* name : {"2009.04", "2009.4", "1999.12"}) EXPECT_TRUE(isMonthlyIndexName(name));
    for (const char* name :
         {"2009", "2009.00", "2009.13", "2009.http", ".04", "2009.004", "x.04"}) {
        EXPECT_FALSE(isMonthlyIndexName(name)) << name;
    }
}

TEST_F(IndexNamingTest, AddressIsNamedWholeUpTo255CharactersAFileAlwaysAndAMonsterNever) {
    const std::string whole = "//host/" + std::string(248, 'a');
    EXPECT_EQ(nameOf("http:" + whole), whole);
    EXPECT_EQ(nameOf("http:" + whole + "a"), "//host/0250024153");  // 249 a's have the sum 24153
    const std::string file = "///" + std::string(70000, 'a');
    EXPECT_EQ(nameOf("file:" + file), file);
    EXPECT_EQ(nameOf("HTTP://h/?q#f"), "//h/?q#f");
    EXPECT_TRUE(errors().empty());

    const std::string longest = "http://host/" + std::string(65535 - 7, 'a');
    EXPECT_NE(nameOf(longest), "none");
    EXPECT_EQ(nameOf(longest + "a"), "none");
    EXPECT_THAT(errors(), ElementsAre("3 URL was too long to process"));
    EXPECT_TRUE(isLogged("Unreasonable URL length: 65536 characters"));
}

TEST_F(IndexNamingTest, LongAddressKeepsHostAndAsMuchOfItsEndAsFits) {
    const std::string a(100, 'a');
    const std::string b(100, 'b');
    const std::string d(100, 'd');
    // 7 for the host, 101 for b, 101 for the last: a would be too much; c, though short, as well.
    EXPECT_EQ(nameOf("http://host/c/" + a + "/" + b + "/" + d), "//host/0103009799/" + b + "/" + d);
    EXPECT_EQ(nameOf("http://host/" + a + "/" + b + "/" + a + "/"),
              "//host/0101009700/" + b + "/" + a + "//");
    const std::string other = "http://host/" + a + "/";
    EXPECT_NE(nameOf(other + "x/" + b + "/" + b), nameOf(other + "y/" + b + "/" + b));
    EXPECT_EQ(nameOf(other + "x/" + b + "/" + b), nameOf(other + "x/" + b + "/" + b));
    EXPECT_EQ(characterSum("a\xC3\xA9"), 97 - 61 - 87);
}

}  // namespace
}  // namespace siftwell
