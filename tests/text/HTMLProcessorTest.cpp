#include "text/HTMLProcessor.h"

#include <gmock/gmock.h>
#include <sys/mman.h>

#include <cstdint>
#include <functional>

#include "text/SlowPasses.h"
#include "text/TagSoup.h"

namespace siftwell {
namespace {

using testing::Optional;

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

std::string smallLetters(const std::string& page) {
    HTMLProcessor processor(page);
    processor.replaceHTMLEncodedDelimiters({});
    return processor.string();
}

std::optional<std::string> titleOf(const std::string& page) { return HTMLProcessor(page).title(); }

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
    EXPECT_EQ(decoded("&#x41;"), "\u1C49");
    EXPECT_EQ(decoded("&#0; &#; &#00; "), "&#0; &#; &#00; ");
}

TEST(HTMLProcessorTest, NumberThatNoCharacterHasCostsThePageNothingButThatCharacter) {
    EXPECT_EQ(decoded("a&#55357;&#56832;b"), "a\uFFFD\uFFFDb");
    EXPECT_EQ(decoded("a&#1114112;&#999999999;&#-1;b"), "a\uFFFD\uFFFD\uFFFDb");
}

TEST(HTMLProcessorTest, EntityIsAtMostTwelveBytesLongAndNotLookedForInTheLastThree) {
    EXPECT_EQ(decoded("&#000000065;."), "A.");
    EXPECT_EQ(decoded("&#0000000065;."), "&#0000000065;.");
    EXPECT_EQ(decoded("&#9;"), "\t");
    EXPECT_EQ(decoded("x &; &"), "x &; &");
}

TEST(HTMLProcessorTest, RunsOfWhiteSpaceBecomeOneSpaceButEntitiesAreNoWhiteSpace) {
    EXPECT_EQ(decoded("a \t\n b"), "a b");
    EXPECT_EQ(decoded("\n\na\r"), " a ");
    EXPECT_EQ(decoded("a&nbsp;&nbsp;b"), "a\u00A0\u00A0b");
    EXPECT_EQ(decoded(" &#32;&#32; b&#9;&#10;"), "   b\t\n");
    EXPECT_EQ(decoded("a\f\vb"), "a\f\vb");
}

TEST(HTMLProcessorTest, StretchIsDeletedToTheNextStopAndLeavesOneSpace) {
    EXPECT_EQ(without("a<script>x</SCRIPT>b", "<SCRIPT", "/SCRIPT>"), "a b");
    EXPECT_EQ(without("a <script>x</script><script>y</script>b", "<SCRIPT", "/SCRIPT>"), "a b");
    EXPECT_EQ(without("<!--><b>-->", "<!--", "-->", false), " ");
    EXPECT_EQ(without("a<Script>b</script>c", "<SCRIPT", "/SCRIPT>", false),
              "a<Script>b</script>c");
    EXPECT_EQ(without("aXyb", "x", "y"), "aXyb");  // the first byte always has its own case
    EXPECT_EQ(without("a<b", "", ">"), "a<b");
}

TEST(HTMLProcessorTest, StartThatNoStopFollowsStaysInTheText) {
    EXPECT_EQ(without("a<!-- x", "<!--", "-->", false), "a<!-- x");
    EXPECT_EQ(without("1 < 2 <b>3</b> < 4", "<", ">", false), "1 3  < 4");
    EXPECT_EQ(without("<a>b</a", "<", ">", false), " b</a");
}

TEST(HTMLProcessorTest, DelimitersAreDecodedInAnyCaseAndOnlyAsciiCapitalsBecomeSmall) {
    EXPECT_EQ(smallLetters("&lt;B&GT; \u00C9COLE &AMP; @[Z]&lt;"), "<b> \u00C9cole &amp; @[z]<");
    HTMLProcessor processor("&lt;B&GT; \u00C9COLE &AMP;");
    EXPECT_EQ(processor.readableString(), "<B> \u00C9COLE &AMP;");
}

TEST(HTMLProcessorTest, TitleIsTheFirstOneThatIsClosedAndKeepsItsCase) {
    EXPECT_THAT(titleOf("<TITLE>\n A  &lt;Big&gt;\t Day </TITLE>"),
                Optional(std::string("A <Big> Day")));
    EXPECT_THAT(titleOf("<titles x=1>one<title>two<"), Optional(std::string("one")));
    EXPECT_THAT(titleOf("<title></title>"), Optional(std::string()));
    EXPECT_EQ(titleOf("<title>never closed"), std::nullopt);
    EXPECT_EQ(titleOf("<title"), std::nullopt);
    EXPECT_EQ(titleOf(""), std::nullopt);
}

TEST(HTMLProcessorTest, PageThatIsNoUtf8IsEmpty) {
    EXPECT_EQ(HTMLProcessor("a\xFF").string(), "");
    EXPECT_EQ(HTMLProcessor("\xED\xA0\x80").string(), "");
}

// Runs a pass on tag soup both ways: same text, and at every yield the same bytes written and the
// same bytes unread.
void compareWithSlowPass(
    const std::function<void(HTMLProcessor&, const Yield&)>& pass,
    const std::function<std::string(const std::string&, slow::Moments&)>& slowPass) {
    TagSoup soup(7, {"<",
                     ">",
                     "<!--",
                     "-->",
                     "<script",
                     "<SCRIPT>",
                     "</Script>",
                     "/script>",
                     "<s",
                     "&",
                     ";",
                     "#",
                     "&amp;",
                     "&GT;",
                     "&lt;",
                     "&gt;x",
                     "&l",
                     "&#65;",
                     "&#0;",
                     "&#xA;",
                     "&#99999999;",
                     "&nbsp",
                     "&Agrave;",
                     "&thinsp;",
                     " ",
                     "  ",
                     "\n",
                     "\t",
                     "      ",
                     "\r\n",
                     "x",
                     "WORD",
                     "\u00E9",
                     "\u65E5\u672C",
                     "\U0001D11E",
                     "p>q</p>",
                     std::string(1, '\0')});
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

struct Stretch {
    std::string start;
    std::string stop;
    bool ignoreCase;
};

class StretchTest : public testing::TestWithParam<Stretch> {};

TEST_P(StretchTest, DeletionDoesAndYieldsAsItsRuleSaysOnAnyPage) {
    const Stretch& stretch = GetParam();
    compareWithSlowPass(
        [&](HTMLProcessor& page, const Yield& yield) {
            page.deleteTagsWithStartDelimiter(stretch.start, stretch.stop, stretch.ignoreCase,
                                              yield);
        },
        [&](const std::string& page, slow::Moments& moments) {
            return slow::deletionPass(page, stretch.start, stretch.stop, stretch.ignoreCase,
                                      moments);
        });
}

INSTANTIATE_TEST_SUITE_P(Delimiters, StretchTest,
                         testing::Values(Stretch{"<SCRIPT", "/SCRIPT>", true},
                                         Stretch{"<!--", "-->", false}, Stretch{"<", ">", false},
                                         Stretch{"<S", ">", true}, Stretch{";", ";", true},
                                         Stretch{"W", "s", true}, Stretch{" ", "x", false}));

// The inner memory pages of the text allow no writing meanwhile.
TEST(HTMLProcessorTest, PassThatFindsNothingToDoDoesNotWrite) {
    constexpr std::size_t kBytes = 1 << 20;
    HTMLProcessor processor(std::string(kBytes, 'x') + "<b>");
    const auto start = reinterpret_cast<std::uintptr_t>(processor.string().data());
    const auto inner = (start + 4095) / 4096 * 4096;
    void* const memory = reinterpret_cast<void*>(inner);
    ASSERT_EQ(mprotect(memory, kBytes / 2, PROT_READ), 0);
    processor.replaceHTMLEncodedChars({});
    processor.deleteTagsWithStartDelimiter("<script", "/script>", true, {});
    processor.deleteTagsWithStartDelimiter("<", ">", false, {});
    processor.replaceHTMLEncodedDelimiters({});
    ASSERT_EQ(mprotect(memory, kBytes / 2, PROT_READ | PROT_WRITE), 0);
    EXPECT_EQ(processor.string(), std::string(kBytes, 'x') + " ");
}

}  // namespace
}  // namespace siftwell
