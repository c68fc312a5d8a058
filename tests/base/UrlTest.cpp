#include "base/Url.h"

#include <gtest/gtest.h>

namespace siftwell {
namespace {

// "scheme|host|path"; "-" stands for none.
std::string partsOf(std::string_view text) {
    const auto url = Url::parse(text);
    if (!url) return "none";
    return url->scheme() + "|" + url->host().value_or("-") + "|" + url->path().value_or("-");
}

TEST(UrlTest, AddressIsTakenApart) {
    EXPECT_EQ(partsOf("http://h/a/b?q=/x#/f"), "http|h|/a/b");
    EXPECT_EQ(partsOf("HTTP://u:p@Host:80/"), "HTTP|Host|/");
    EXPECT_EQ(partsOf("http://[::1]/x/"), "http|[::1]|/x");
    EXPECT_EQ(partsOf("feed:/p"), "feed|-|/p");
    EXPECT_EQ(partsOf("http:///p/q"), "http|-|/p/q");
    EXPECT_EQ(partsOf("a/b?x"), "|-|a/b");
    EXPECT_EQ(partsOf("//h/p"), "|h|/p");
    EXPECT_EQ(partsOf("1a:x"), "|-|1a:x");
    // The path is empty behind a bare host and absent in an opaque address.
    for (const char* text : {"http://h", "http://h?q", "http://h#f/x"}) {
        EXPECT_EQ(partsOf(text), "http|h|") << text;
    }
    EXPECT_EQ(partsOf("mailto:a@b"), "mailto|-|-");
    EXPECT_EQ(partsOf("feed:http://h/x"), "feed|-|-");
}

TEST(UrlTest, RefusesWhatThePlatformRefuses) {
    using namespace std::string_view_literals;
    for (const std::string_view text :
         {""sv, "http://h/a b"sv, "http://h/\x01"sv, "http://h/\x7F"sv, "http://h/\0"sv,
          "http://h/\xC3\xA4"sv, "http://h/%"sv, "http://h/%4"sv, "http://h/%4g"sv,
          "http://h:99999/"sv, "http://a b/"sv, "http://host%00.com/"sv}) {
        EXPECT_EQ(partsOf(text), "none") << text;
    }
    EXPECT_EQ(partsOf("http://h/" + std::string(8'000'001, 'a')), "none");
}

TEST(UrlTest, EscapesOfThePathAreDecodedAndTheTextIsKept) {
    const auto url = Url::parse("http://h/%41%2f%FF%00b/c%2Etxt/");
    ASSERT_TRUE(url);
    EXPECT_EQ(url->path(), std::string("/A/\xFF\0b/c.txt", 12));
    EXPECT_EQ(url->lastPathComponent(), "c.txt");
    EXPECT_EQ(url->pathExtension(), "txt");
    EXPECT_EQ(url->resourceSpecifier(), "//h/%41%2f%FF%00b/c%2Etxt/");
    EXPECT_EQ(Url::parse("http://h/a/../b")->path(), "/a/../b");
    EXPECT_EQ(Url::parse("http://h")->lastPathComponent(), "");
    EXPECT_EQ(Url::parse("about:blank")->pathExtension(), "");
}

TEST(UrlTest, FileAddressOfAnyBytesReadsBackAsTheSamePath) {
    std::string path = "/";
    for (int byte = 1; byte < 256; ++byte) path += static_cast<char>(byte);
    EXPECT_EQ(Url::parse(Url::fromFilePath(path).absoluteString())->path(), path);
    EXPECT_EQ(Url::fromFilePath(path).path(), path);
    EXPECT_EQ(Url::fromFilePath("/tmp/a b").absoluteString(), "file:///tmp/a%20b");
    EXPECT_TRUE(Url::parse("FILE:/x")->isFile());
    EXPECT_FALSE(Url::parse("files:///x")->isFile());
    EXPECT_EQ(partsOf("file://localhost/x"), "file|-|/x");
}

TEST(UrlTest, ReferencesAreResolvedAsSeenFromAnAddress) {
    const auto resolved = [](const char* reference, const char* base = "http://h/a/b?q#f") {
        const auto url = Url::parse(base)->resolved(reference);
        return url ? url->absoluteString() : "none";
    };
    EXPECT_EQ(resolved("c"), "http://h/a/c");
    EXPECT_EQ(resolved("../../c"), "http://h/c");
    EXPECT_EQ(resolved("//o/c/./d"), "http://o/c/d");
    EXPECT_EQ(resolved("?y"), "http://h/a/b?y");
    EXPECT_EQ(resolved("#y"), "http://h/a/b?q#y");
    EXPECT_EQ(resolved(""), "http://h/a/b?q");
    EXPECT_EQ(resolved("mailto:x@y"), "mailto:x@y");
    EXPECT_EQ(resolved("c d"), "none");
    EXPECT_EQ(resolved("c", "http://h"), "http://h/c");
    EXPECT_EQ(resolved("../c", "file:///a/b"), "file:///c");
    EXPECT_EQ(resolved("c", "about:blank"), "none");
}

}  // namespace
}  // namespace siftwell
