#include "fulltext/Query.h"

#include <gmock/gmock.h>

namespace siftwell::fulltext {
namespace {

// A query as it was understood: "&(a b -c)", "|(a b)", phrases as [a b], word gaps as "_".
class QueryTest : public testing::Test {
protected:
    std::string read(std::string_view text) {
        const Query query = parseQuery(text, m_filter);
        return query.root ? describe(*query.root, query) : "nothing";
    }

    TermFilter m_filter{IndexSettings{.stopWords = {"the", "of"}}};

private:
    static std::string describe(const QueryWord& word) {
        switch (word.match) {
            case TermMatch::Exact:
                return word.word;
            case TermMatch::Prefix:
                return word.word + "*";
            case TermMatch::Suffix:
                return "*" + word.word;
            case TermMatch::Anywhere:
                return "*" + word.word + "*";
        }
        return {};
    }

    static std::string describe(const QueryLeaf& leaf) {
        if (leaf.words.size() == 1) return describe(leaf.words.front());
        std::string text = "[";
        std::uint32_t position = 0;
        for (const QueryWord& word : leaf.words) {
            for (; position < word.position; ++position) text += "_ ";
            text += describe(word) + " ";
            ++position;
        }
        text.back() = ']';
        return text;
    }

    static std::string describe(const QueryNode& node, const Query& query) {
        if (node.kind == QueryNode::Kind::Leaf) return describe(query.leaves[node.leaf]);
        std::string text = node.kind == QueryNode::Kind::All ? "&(" : "|(";
        for (const QueryNode& child : node.children) text += describe(child, query) + " ";
        for (const QueryNode& child : node.excluded) text += "-" + describe(child, query) + " ";
        text.back() = ')';
        return text;
    }
};

TEST_F(QueryTest, OperatorsBindAsDocumented) {
    EXPECT_EQ(read("a b"), "&(a b)");
    EXPECT_EQ(read("a & b | c d"), "|(&(a b) &(c d))");
    EXPECT_EQ(read("a & (b | c)"), "&(a |(b c))");
    EXPECT_EQ(read("a !b"), "&(a -b)");
    EXPECT_EQ(read("a !(b c)"), "&(a -&(b c))");
    EXPECT_EQ(read("a & !(!b)"), "&(a b)");
    EXPECT_EQ(read("(!a !b) c"), "&(c -|(a b))");
}

TEST_F(QueryTest, WordsAreFoldedAndMayStandForParts) {
    EXPECT_EQ(read("Café CAFÉ"), "&(cafe cafe)");
    EXPECT_EQ(read("Iter* *ATOR *tera*"), "&(iter* *ator *tera*)");
    EXPECT_EQ(read("\"Quick Brown fox\""), "[quick brown fox]");
    EXPECT_EQ(read("e-mail"), "[e mail]");
    EXPECT_EQ(read("*e-mail*"), "[*e mail*]");
    EXPECT_EQ(read("東京都*").front(), '[');
}

TEST_F(QueryTest, WordsThatAreNeverIndexedAreLeftOutButKeepTheirPlaceInAPhrase) {
    EXPECT_EQ(read("the cat"), "cat");
    EXPECT_EQ(read("\"state of the art\""), "[state _ _ art]");
    EXPECT_EQ(read("\"the cat of\""), "cat");
    EXPECT_EQ(read("*the*"), "*the*");
    EXPECT_EQ(read("the"), "nothing");
}

TEST_F(QueryTest, WhatLacksItsPartnerIsReadAsIfLeftOut) {
    for (const char* text : {"a &", "& a", "a |", "| a", "(a", "a)", "((a)", "a !", "! & a", "\"a",
                             "a \"", "() a", "a ** *", "a & & &", "a (|)", "-a-", "a\"\""}) {
        EXPECT_EQ(read(text), "a") << text;
    }
    EXPECT_EQ(read("a & | b"), "&(a b)");
    EXPECT_EQ(read("a | & b"), "|(a b)");
    EXPECT_EQ(read("a) b (c"), "&(a &(b c))");
    EXPECT_EQ(read("\"a b"), "&(a b)");
    EXPECT_EQ(read("a | !b"), "a");
}

TEST_F(QueryTest, WithoutAnythingAskedForNothingIsFound) {
    for (const char* text :
         {"", " ", "&|!", "()", "\"\"", "*", "!a", "!a | !b", "!(a | b)", "\xff\xfe"}) {
        EXPECT_EQ(read(text), "nothing") << text;
    }
}

TEST_F(QueryTest, DeepNestingAndLongQueriesAreReadInBoundedMemory) {
    EXPECT_EQ(read(std::string(60000, '(') + "a"), "a");
    EXPECT_EQ(read(std::string(60001, '!') + "a b"), "&(b -a)");
    const Query query = parseQuery(std::string(200000, '"') + " word", m_filter);
    EXPECT_LE(query.leaves.size(), 64U << 10);
}

}  // namespace
}  // namespace siftwell::fulltext
