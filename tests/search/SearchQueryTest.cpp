#include "search/SearchQuery.h"

#include <gtest/gtest.h>

#include "fulltext/Query.h"

namespace siftwell {
namespace {

const std::set<std::string> kStopWords = {"the", "and"};

std::string query(std::string_view text, SearchType type = SearchType::AllWords) {
    return skSearchQuery(text, type, kStopWords);
}

TEST(SearchQueryTest, EveryTypeCombinesTheWordsInItsWay) {
    EXPECT_EQ(query("foo bar", SearchType::AllWords), "foo & bar");
    EXPECT_EQ(query("foo bar", SearchType::AllFragments), "*foo* & *bar*");
    EXPECT_EQ(query("foo bar", SearchType::AnyWord), "foo | bar");
    EXPECT_EQ(query("foo bar", SearchType::AnyFragment), "*foo* | *bar*");
    EXPECT_EQ(query("foo \"bar | the", SearchType::Raw), "foo \"bar | the");
    EXPECT_EQ(query("foo", SearchType::AnyFragment), "*foo*");
}

TEST(SearchQueryTest, OnlyLettersAndDigitsMakeWords) {
    EXPECT_EQ(query(" e-mail,\t(C++)\n 2026! "), "e & mail & C & 2026");
    EXPECT_EQ(query("a*b|c&!d \"e\"", SearchType::AnyWord), "a | b | c | d | e");
    EXPECT_EQ(query("Ω naïve\xC2\xA0日本語"), "Ω & naïve & 日本語");
    EXPECT_EQ(query("\xFF"
                    "foo\xC3"),
              "foo");
    EXPECT_EQ(query(std::string_view("foo\0bar", 7)), "foo & bar");
}

TEST(SearchQueryTest, StopWordsAreLeftOutUnlessThereIsNothingElse) {
    EXPECT_EQ(query("the cat and the dog"), "cat & dog");
    EXPECT_EQ(query("the cat", SearchType::AllFragments), "*cat*");
    EXPECT_EQ(query("the, and"), "the, and");
    EXPECT_EQ(query("The cat"), "The & cat");  // the engine leaves it out
    EXPECT_EQ(query(" ?! "), " ?! ");
    EXPECT_EQ(query(""), "");
}

TEST(SearchQueryTest, WhateverIsTypedTheEngineCanReadTheQuery) {
    const fulltext::TermFilter filter{fulltext::IndexSettings{}};
    for (const SearchType type : {SearchType::AllWords, SearchType::AllFragments,
                                  SearchType::AnyWord, SearchType::AnyFragment}) {
        const auto parsed = fulltext::parseQuery(query("a)(b \"c* &|! d", type), filter);
        EXPECT_EQ(parsed.leaves.size(), 4U);
        EXPECT_EQ(
            fulltext::parseQuery(query(std::string(100'000, '('), type), filter).leaves.size(), 0U);
    }
}

}  // namespace
}  // namespace siftwell
