// The readers of bookmarks and histories that are property lists, and of Opera's texts.

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "base/PropertyListFormat.h"
#include "sources/OperaPages.h"
#include "sources/PropertyListPages.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_view_literals;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

constexpr double kInfinite = std::numeric_limits<double>::infinity();

bool always() { return true; }

// Address, seconds since 2001 and title of each.
std::vector<std::string> told(const std::optional<std::vector<BatchEntry>>& entries) {
    if (!entries) return {"no property list"};
    std::vector<std::string> texts;
    for (const BatchEntry& entry : *entries) {
        texts.push_back(entry.url.absoluteString());
        if (entry.date) {
            texts.back() += " " + std::to_string(std::lround(entry.date->secondsSinceReference()));
        }
        if (entry.title) texts.back() += " " + *entry.title;
    }
    return texts;
}

std::vector<std::string> opera(std::string_view text) {
    return told(operaPagesInText(text, always));
}

TEST(PageListsTest, AVisitInOperaIsTitleAddressAndTimeUpToAMinusOneWhereverThatStands) {
    EXPECT_THAT(opera("Title\nhttp://h/1\n1262304000\n-1\n\"x\";\nhttp://h/2\nsoon\n-1\n"
                      "Cut in 2026-11-3\nhttp://h/3\n978307205\n-1\nCut\nhttp://h/doc-15/4\n6\n-1\n"
                      "\nhttp://h/untitled\n7\n-1\nOne line\n-1-1\n;\nLast\nhttp://h/last\n"),
                ElementsAre("http://h/1 283996800", "http://h/2", "http://h/3 5", "http://h/doc",
                            "6", "7", "http://h/last"));
    EXPECT_THAT(opera("Carriage returns\r\nhttp://h/1\r\n5\r\n-1\r\nNUL\nhttp://h/\0x\n5\n-1"sv),
                IsEmpty());
    std::string many;
    while (many.size() < (4 << 20)) many += "\nx\na\n-1";
    EXPECT_EQ(operaPagesInText(many, always).size(), kMaxAddresses);
    int left = 3;
    EXPECT_EQ(operaPagesInText(many, [&] { return left-- > 0; }).size(), 3U);
}

TEST(PageListsTest, ABookmarkInOperaIsAnAddressAndWhatStandsBeforeItsUniqueID) {
    const std::string folder = "#FOLDER\n\tCREATED=9\n\tUNIQUEID=F\n";
    EXPECT_THAT(
        opera(folder + "#URL\n\tNAME=-1\n\tURL=http://h/1;x\n\tCREATED=978307205\n"
                       "\tDISPLAY URL=http://h/no\n\tUNIQUEID=A\n#URL\n\tURL=http://h/2\n"
                       "\tUNIQUEID=B\n\tCREATED=6\n#URL\n\turl=http://h/3\n\tURL=http://h/4\n"),
        ElementsAre("http://h/1 5", "http://h/2", "http://h/3"));
    EXPECT_THAT(opera(folder + "#URL\r\n\tURL=http://h/1\n"), IsEmpty()) << "a history";
}

TEST(PageListsTest, SafarisBookmarksHaveOneOfThreeLayouts) {
    const Dictionary oldest = {{"", "http://h/1"}, {"title", "One"}, {"lastVisitedDate", "5"}};
    const Dictionary later = {{"", ""}, {"title", "Two"}};
    const Array pages = {Dictionary{{"URIDictionary", oldest}, {"URLString", "http://h/no"}},
                         Dictionary{{"Children", Array{Dictionary{{"URIDictionary", later},
                                                                  {"URLString", "http://h/2"}}}}},
                         Dictionary{{"URL", "http://h/3"}, {"Children", Array{oldest}}},
                         Dictionary{{"URL", "http://h/4"},
                                    {"URIDictionary", Dictionary{{"lastVisitedDate", kInfinite}}}},
                         Dictionary{{"URLString", "http://h/a b"}},
                         Dictionary{{"URLString", 5}},
                         "text",
                         Dictionary{{"Children", "none"}, {"URIDictionary", Array{}}}};
    const std::string list = serializePropertyList(Dictionary{{"Children", pages}});
    EXPECT_THAT(told(safariBookmarks(list, Date::fromReference(7), always)),
                ElementsAre("http://h/1 5 One", "http://h/2 Two", "http://h/3 7", "http://h/4 0"));
    int left = 3;  // the top, a page, a folder
    EXPECT_EQ(safariBookmarks(list, Date(), [&] { return left-- > 0; })->size(), 1U);
}

TEST(PageListsTest, CaminosBookmarksAndOmniWebsVisitsNeedTheirDateAndTheirAddress) {
    const Dictionary page = {{"URL", "http://h/1"}, {"LastVisitedDate", Date::fromReference(5)}};
    const Dictionary undated = {{"URL", "http://h/2"}, {"LastVisitedDate", "5"}};
    Dictionary folder = page;
    folder["Children"] = Array{page};
    EXPECT_THAT(
        told(caminoBookmarks(
            serializePropertyList(Dictionary{{"Children", Array{page, undated, folder, "text"}}}),
            always)),
        ElementsAre("http://h/1 5", "http://h/1 5"));

    const Array visits = {Array{Dictionary{{"url", "http://h/1"}, {"timeInterval", 5}}, Array{}},
                          Dictionary{{"url", ""}}, "text", Dictionary{{"url", "http://h/2"}}};
    for (const PropertyList& list : {PropertyList(visits), {Dictionary{{"entries", visits}}}}) {
        EXPECT_THAT(told(omniWebHistory(serializePropertyList(list), always)),
                    ElementsAre("http://h/1 5", "http://h/2 0"));
    }
}

TEST(PageListsTest, DamagedAndVeryDeepListsAreNone) {
    const auto nested = [](int folders) {
        std::string text = "<dict><key>URLString</key><string>http://h/</string></dict>";
        std::string front = "<plist>";
        for (int i = 0; i < folders; ++i) {
            front += "<dict><key>Children</key><array>";
            text += "</array></dict>";
        }
        return front + text + "</plist>";
    };
    EXPECT_THAT(told(safariBookmarks(nested(200), Date(), always)), ElementsAre("http://h/"));
    std::string lying = serializePropertyList(Array{"text"});
    lying.insert(lying.find('\x54'), 1, '\x5F');  // a length, where a text should follow
    for (const std::string& bytes : {nested(5'000), lying, std::string()}) {
        EXPECT_FALSE(safariBookmarks(bytes, Date(), always));
        EXPECT_FALSE(caminoBookmarks(bytes, always));
        EXPECT_FALSE(omniWebHistory(bytes, always));
    }
}

}  // namespace
}  // namespace siftwell
