#include "sources/ReadableFileTest.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {
namespace {

class ReadableFileTestTest : public testing::Test {
protected:
    ReadableFileTestTest() {
        m_settings->registerDefaults({{"NativeExtensions", PropertyList::Array{"html", "c++"}},
                                      {"NativeTypes", PropertyList::Array{"TEXT"}},
                                      {"ExtractorExtensions", PropertyList::Array{"pdf"}},
                                      {"ExtractorTypes", PropertyList::Array{"PDF "}}});
    }

    bool canRead(const char* type, std::string_view extension) {
        std::uint32_t code = 0;
        if (type != nullptr) std::memcpy(&code, type, sizeof code);
        return ReadableFileTest(*m_settings).canParseContentWithType(code, extension);
    }

    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    std::unique_ptr<Settings> m_settings =
        Settings::open(m_folder.file("x.plist"), Settings::Access::ReadWrite, m_loop).value();
};

TEST_F(ReadableFileTestTest, ExtensionsDecideWithoutRegardToCase) {
    EXPECT_TRUE(canRead(nullptr, "html"));
    EXPECT_TRUE(canRead(nullptr, "HtMl"));
    EXPECT_TRUE(canRead(nullptr, "C++"));
    EXPECT_TRUE(canRead(nullptr, ""));  // may be anything
    EXPECT_FALSE(canRead(nullptr, "htm"));
    EXPECT_FALSE(canRead(nullptr, "jpg"));
}

TEST_F(ReadableFileTestTest, FileTypesDecideWhereThereAreAny) {
    EXPECT_TRUE(canRead("TEXT", "jpg"));
    EXPECT_TRUE(canRead("JPEG", "html"));
    EXPECT_FALSE(canRead("JPEG", "jpg"));
    EXPECT_FALSE(canRead("text", "jpg"));
}

TEST_F(ReadableFileTestTest, WhatNeedsAnExtractorIsReadOnlyWhenTheyAreOn) {
    EXPECT_FALSE(canRead(nullptr, "pdf"));
    EXPECT_FALSE(canRead("PDF ", "x"));
    m_settings->set("UseContentExtractors", true);
    EXPECT_TRUE(canRead(nullptr, "PDF"));
    EXPECT_TRUE(canRead("PDF ", "x"));
}

}  // namespace
}  // namespace siftwell
