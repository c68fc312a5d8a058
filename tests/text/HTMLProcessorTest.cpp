#include "text/HTMLProcessor.h"

#include <gtest/gtest.h>

#include <functional>

#include "text/SlowPasses.h"
#include "text/TagSoup.h"

namespace siftwell {
namespace {

std::string decoded(const std::string& page) {
    HTMLProcessor processor(page);
    processor.replaceHTMLEncodedChars({});
    return processor.string();
}

std::string without(const std::string& page, const std::string& start, const std::string& stop,
                    bool ignoreCase = true) {
    HTMLProcessor processor(page);
    processor.deleteTagsWithStartDelimiter(start, stop, ignoreCase, {});
    return processor.string();
}

TEST(HTMLProcessorTest, NamedEntityIsDecodedByTheFirstRowThatMatchesInAnyCase) {
    for (const Entity& row : kSpecialEncodedCharMap) {
        std::string expected;
        appendUtf8(expected, slow::rowEqualTo(std::string(row.text), kSpecialEncodedCharMap));
        EXPECT_EQ(decoded(std::string(row.text) + "."), expected + ".") << row.text;
    }
    EXPECT_EQ(decoded("&Agrave;&agrave;&acirc;&Acirc;"), "\u00E0\u00E0\u00C2\u00C2");
    EXPECT_EQ(decoded("&and;&or;&AMP;&rsaquo;"), "\u22A5\u22A6&\u203A");
    EXPECT_EQ(decoded("&lt;&gt;&apos;&unknown;"), "&lt;&gt;&apos;&unknown;");
}

TEST(HTMLProcessorTest, NumbersAreReadByTheValueOfEachByteRelativeToZero) {
    EXPECT_EQ(decoded("&#65;&#233;&#8364;&#128512;"), "A\u00E9\u20AC\U0001F600");
    EXPECT_EQ(decoded("&#x41; &#0; &#; &#00; "), "\u1C49 &#0; &#; &#00; ");
    // A number that no character has costs the page nothing but that character.
    EXPECT_EQ(decoded("a&#55357;&#56832;b"), "a\uFFFD\uFFFDb");
    EXPECT_EQ(decoded("a&#1114112;&#999999999;&#-1;b"), "a\uFFFD\uFFFD\uFFFDb");
}

TEST(HTMLProcessorTest, EntityIsAtMostTwelveBytesLongAndNotLookedForInTheLastThree) {
    EXPECT_EQ(decoded("&#000000065; &#0000000065;."), "A &#0000000065;.");
    EXPECT_EQ(decoded("&#9;"), "\t");
    EXPECT_EQ(decoded("x &; &"), "x &; &");
}

TEST(HTMLProcessorTest, RunsOfWhiteSpaceBecomeOneSpaceButEntitiesAreNoWhiteSpace) {
    EXPECT_EQ(decoded("\n\na \t\n b\r"), " a b ");
    EXPECT_EQ(decoded("a&nbsp;&nbsp;b\f\vc"), "a\u00A0\u00A0b\f\vc");
    EXPECT_EQ(decoded(" &#32;&#32; b&#9;&#10;"), "   b\t\n");
}

TEST(HTMLProcessorTest, StretchIsDeletedToTheNextStopAndLeavesOneSpace) {
    EXPECT_EQ(without("a<script>x</SCRIPT>b", "<SCRIPT", "/SCRIPT>"), "a b");
    EXPECT_EQ(without("a <script>x</script><script>y</script>b", "<SCRIPT", "/SCRIPT>"), "a b");
    EXPECT_EQ(without("<!--><b>-->", "<!--", "-->", false), " ");
    EXPECT_EQ(without("a<Script>b</script>", "<SCRIPT", "/SCRIPT>", false), "a<Script>b</script>");
    EXPECT_EQ(without("aXyb", "x", "y"), "aXyb");  // the first byte always has its own case
    EXPECT_EQ(without("a<b", "", ">"), "a<b");
    // A start that no stop follows stays.
    EXPECT_EQ(without("a<!-- x", "<!--", "-->", false), "a<!-- x");
    EXPECT_EQ(without("1 < 2 <b>3</b> < 4", "<", ">", false), "1 3  < 4");
    EXPECT_EQ(without("<a>b</a", "<", ">", false), " b</a");
}

TEST(HTMLProcessorTest, DelimitersAreDecodedInAnyCaseAndOnlyAsciiCapitalsBecomeSmall) {
    HTMLProcessor processor("&lt;B&GT; \u00C9COLE &AMP; @[Z]&lt;");
    EXPECT_EQ(processor.readableString(), "<B> \u00C9COLE &AMP; @[Z]<");
    processor.replaceHTMLEncodedDelimiters({});
    EXPECT_EQ(processor.string(), "<b> \u00C9cole &amp; @[z]<");
}

TEST(HTMLProcessorTest, TitleIsTheFirstOneThatIsClosedAndKeepsItsCase) {
    const auto title = [](const char* page) { return HTMLProcessor(page).title(); };
    EXPECT_EQ(title("<TITLE>\n A  &lt;Big&gt;\t Day </TITLE>"), "A <Big> Day");
    EXPECT_EQ(title("<titles x=1>one<title>two<"), "one");
    EXPECT_EQ(title("<title></title>"), "");
    for (const char* none : {"<title>never closed", "<title", ""}) {
        EXPECT_EQ(title(none), std::nullopt) << none;
    }
}

TEST(HTMLProcessorTest, PageThatIsNoUtf8IsEmpty) {
    for (const char* page : {"a\xFF", "\xED\xA0\x80"}) EXPECT_EQ(HTMLProcessor(page).string(), "");
}

// Runs a pass on tag soup both ways: same text, and at every yield the same bytes written and the
// same bytes unread.
void compareWithSlowPass(
    const std::function<void(HTMLProcessor&, const Yield&)>& pass,
    const std::function<std::string(const std::string&, slow::Moments&)>& slowPass) {
    using namespace std::string_literals;
    TagSoup soup(
        7, {"<",        ">",        "<!--",     "-->",   "<script", "<SCRIPT>",     "</Script>",
            "/script>", "<s",       "&",        ";",     "#",       "&amp;",        "&GT;",
            "&lt;",     "&gt;x",    "&l",       "&#65;", "&#0;",    "&#xA;",        "&#99999999;",
            "&nbsp",    "&Agrave;", "&thinsp;", " ",     "  ",      "\n",           "\t",
            "      ",   "\r\n",     "x",        "WORD",  "\u00E9",  "\u65E5\u672C", "\U0001D11E",
            "p>q</p>",  "\0"s});
    for (int round = 0; round < 3000; ++round) {
        const std::string page = soup.text(round % 10 == 0 ? 1500 : 60);
        slow::Moments moments;
        const std::string expected = slowPass(page, moments);
        HTMLProcessor processor(page);
        std::size_t yields = 0;
        pass(processor, [&] {
            ASSERT_LT(yields, moments.size()) << round;
            const slow::Moment& moment = moments[yields++];
            ASSERT_TRUE(processor.string().starts_with(moment.written)) << round;
            ASSERT_TRUE(processor.string().ends_with(moment.unread)) << round;
        });
        ASSERT_TRUE(processor.string() == expected) << round;
        ASSERT_EQ(yields, moments.size()) << round;
    }
}

TEST(HTMLProcessorTest, EntityPassDoesAndYieldsAsItsRuleSaysOnAnyPage) {
    compareWithSlowPass(
        [](HTMLProcessor& page, const Yield& yield) { page.replaceHTMLEncodedChars(yield); },
        slow::entityPass);
}

TEST(HTMLProcessorTest, DelimiterPassDoesAndYieldsAsItsRuleSaysOnAnyPage) {
    compareWithSlowPass(
        [](HTMLProcessor& page, const Yield& yield) {
            slow::Moments moments;
            EXPECT_EQ(page.readableString(), slow::delimiterPass(page.string(), false, moments));
            page.replaceHTMLEncodedDelimiters(yield);
        },
        [](const std::string& page, slow::Moments& moments) {
            return slow::delimiterPass(page, true, moments);
        });
}

TEST(HTMLProcessorTest, DeletionDoesAndYieldsAsItsRuleSaysOnAnyPage) {
    struct Stretch {
        std::string start;
        std::string stop;
        bool ignoreCase;
    };
    for (const Stretch& each :
         {Stretch{"<SCRIPT", "/SCRIPT>", true}, Stretch{"<!--", "-->", false},
          Stretch{"<", ">", false}, Stretch{"<S", ">", true}, Stretch{";", ";", true},
          Stretch{"W", "s", true}, Stretch{" ", "x", false}}) {
        compareWithSlowPass(
            [&](HTMLProcessor& page, const Yield& yield) {
                page.deleteTagsWithStartDelimiter(each.start, each.stop, each.ignoreCase, yield);
            },
            [&](const std::string& page, slow::Moments& moments) {
                return slow::deletionPass(page, each.start, each.stop, each.ignoreCase, moments);
            });
        if (HasFatalFailure()) FAIL() << "between " << each.start << " and " << each.stop;
    }
}

}  // namespace
}  // namespace siftwell
