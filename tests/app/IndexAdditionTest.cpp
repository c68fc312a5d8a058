#include "app/IndexAddition.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

using FileUse = Driver::FileUse;

class IndexAdditionTest : public testing::Test {
protected:
    static AdditionOutcome add(const std::string& address,
                               std::optional<std::string> indexer = std::nullopt,
                               FileUse fileUse = FileUse::Ask) {
        return searchItemForAddition(
            {.url = Url::parse(address).value(), .indexer = std::move(indexer), .fileUse = fileUse},
            [](const std::string& path) { return path == "/home/pages"; });
    }
    // "name indexer path", with "once" when it is scanned once.
    static std::string itemFor(const AdditionOutcome& outcome) {
        const auto& item = std::get<SearchItem>(outcome);
        EXPECT_TRUE(item.Index && item.Search && item.UserItem && !item.Expire);
        EXPECT_EQ(item.LastScanDate, Date::distantPast());
        return item.Name + " " + item.Indexer + " " + item.Path + (item.IndexOnce ? " once" : "");
    }
    static std::string problemOf(const AdditionOutcome& outcome) {
        const auto& problem = std::get<AdditionProblem>(outcome);
        return problem.error + " " + problem.details;
    }
};

TEST_F(IndexAdditionTest, AddressesFoldersAndFilesBecomeItemsOfTheirKind) {
    EXPECT_EQ(itemFor(add("http://host/a/b.html?x")), "host SingleURL http://host/a/b.html?x once");
    EXPECT_EQ(itemFor(add("file:///home/pages")), "pages LocalFiles /home/pages once");
    EXPECT_EQ(itemFor(add("file:///home/a%20b.html", {}, FileUse::ExtractURLs)),
              "a b.html URLExtractor /home/a b.html");
    EXPECT_EQ(itemFor(add("file:///home/a%20b.html", {}, FileUse::IndexContents)),
              "a b.html SingleURL file:///home/a%20b.html once");
    EXPECT_TRUE(std::holds_alternative<AdditionQuestion>(add("file:///home/not-there")));
}

TEST_F(IndexAdditionTest, NamedIndexerIsTakenAtItsWord) {
    EXPECT_EQ(itemFor(add("file:///home/pages", "URLExtractor")), "pages URLExtractor /home/pages");
    EXPECT_EQ(itemFor(add("file:///home/x", "LocalFiles")), "x LocalFiles /home/x once");
    EXPECT_EQ(itemFor(add("http://host/", "SingleURL")), "host SingleURL http://host/ once");
    EXPECT_EQ(itemFor(add("http://host/list.html", "InternetExplorer")),
              "list.html InternetExplorer http://host/list.html");
}

TEST_F(IndexAdditionTest, AddressWithoutNameOrSchemeIsRefused) {
    EXPECT_EQ(problemOf(add("file:///")),
              "Please enter a valid URL to a page or document. It must "
              "contain a path or host name.");
    EXPECT_EQ(problemOf(add("mailto:somebody")),
              "Please enter a valid URL to a page or document. "
              "It must contain a path or host name.");
    EXPECT_EQ(problemOf(add("x:/page")), problemOf(add("file:///")));
    EXPECT_EQ(problemOf(add("example.org/page")),
              "Please enter a full URL. It must begin with a 'scheme' such as \"http://\" or "
              "\"file://\".");
}

}  // namespace
}  // namespace siftwell
