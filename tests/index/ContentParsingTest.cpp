#include "index/ContentParsing.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ContentParsingTest : public IndexFixture {
protected:
    static PageContent page(const std::string& content,
                            const std::optional<std::string>& title = std::nullopt) {
        return {.content = content,
                .url = url("http://host.example/some/p%C3%A4th.x?query"),
                .date = Date::fromReference(1000),
                .title = title,
                .cachePath = std::nullopt,
                .source = "Pages",
                .indexer = "Tester",
                .mimeType = "text/html"};
    }
    static AddRequest parsed(PageContent page) {
        return parseContent(std::move(page), false, {}).value();
    }
    void parse(PageContent page) {
        store().parseAndAddContent(std::move(page));
        m_loop.drain();
    }
};

TEST_F(ContentParsingTest, PageIsFoundByItsWordsTitlePathAndHost) {
    const AddRequest request = parsed(page(
        "<html><head><TITLE>Big &amp; Small</title></head><script>no words</script>One&lt;b&gt;"));
    EXPECT_EQ(request.content, "one b  Big   Small  some p\xC3\xA4th x host example");
    EXPECT_EQ(request.title, "Big & Small");
    PageContent file = page("<html>x");
    file.url = url("file:///a/b");
    EXPECT_EQ(parsed(std::move(file)).content, "x  a b");
}

TEST_F(ContentParsingTest, TitleOfTheSourceGoesBeforeTheOneInTheMarkup) {
    const std::string titled = "<title>Today</title>x";
    EXPECT_EQ(parsed(page(titled, "News")).title, "News Today");
    EXPECT_EQ(parsed(page(titled, "")).title, "Today");
    EXPECT_EQ(parsed(page(titled)).title, "Today");
    for (const char* untitled : {"x", "<title></title>x", "<title> \n </title>x"}) {
        EXPECT_EQ(parsed(page(untitled, "News")).title, "News");
        EXPECT_EQ(parsed(page(untitled)).title, std::nullopt);
    }
}

TEST_F(ContentParsingTest, MarkupIsKnownByItsTypeOrByItsFrontAndOtherTextByItsExtension) {
    const auto isMarkup = [](const char* content, const char* type) {
        PageContent given = page(content);
        given.mimeType = type;
        return parseContent(std::move(given), false, {}).has_value();
    };
    EXPECT_TRUE(isMarkup("plain", "text/html"));
    EXPECT_FALSE(isMarkup("plain", "TEXT/HTML"));
    EXPECT_TRUE(isMarkup("<HTML><Head>", "text/plain"));
    EXPECT_TRUE(isMarkup("<rss><channel>", "application/xml"));
    EXPECT_FALSE(isMarkup("<html>", "text/plain"));
    PageContent text = page("a <b> c", "Title");
    text.mimeType = std::nullopt;
    const auto request = parseContent(text, true, {});
    EXPECT_TRUE(request->content.starts_with("a  b  c Title "));
    EXPECT_TRUE(request->readable.starts_with("a <b> c"));
}

TEST_F(ContentParsingTest, EveryPageThatEndsIsTakenFromThePendingOnesButOneThatCannotBeRead) {
    store().setPendingDocumentCount(9);
    PageContent unreadable = page("plain text");
    unreadable.mimeType = "text/plain";
    parse(unreadable);
    EXPECT_EQ(store().pendingDocumentCount(), 9);
    parse(page(""));
    PageContent refused = page("x");
    refused.url = url("ftp://host/");
    parse(refused);
    PageContent wordless = page("<html><head>--</html>");
    wordless.url = url("http:///");
    parse(wordless);
    EXPECT_EQ(store().pendingDocumentCount(), 6);
    EXPECT_THAT(errors(), ElementsAre("3 No text on page"));
    EXPECT_TRUE(isLogged("Returning without adding http:/// to index"));
    EXPECT_FALSE(store().canProcessURL(wordless.url));
    EXPECT_THAT(m_told, IsEmpty());
    parse(page("word"));
    parse(page("word"));
    EXPECT_EQ(store().pendingDocumentCount(), 4);
    EXPECT_EQ(m_told.size(), 1U);
}

TEST_F(ContentParsingTest, TextOfAFileThatNeedsAnExtractorComesFromThere) {
    m_settings->set("UseContentExtractors", true);
    PageContent file = page("CONTENT ON DISK");
    file.url = url("file:///folder/a.pdf");
    file.mimeType = std::nullopt;
    parse(file);
    EXPECT_THAT(errors(), ElementsAre("3 SearchKit failed to index this URL"));
    EXPECT_EQ(stringFor(m_errors[0], "details"), "Content = CONTENT ON DISK  folder a pdf");
    m_extractor.text = "Extracted, words";
    parse(file);
    EXPECT_THAT(find("extracted & words"), ElementsAre("file:///folder/a.pdf"));
    EXPECT_THAT(find("disk | folder"), IsEmpty());
}

}  // namespace
}  // namespace siftwell
