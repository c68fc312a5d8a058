#include "app/PreviewDocument.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

class PreviewDocumentTest : public testing::Test {
protected:
    // "type charset bytes" of a file's page, or the address to be loaded.
    std::string shown(const std::string& name, const std::string& bytes) {
        m_folder.write(name, bytes);
        return shown(Url::fromFilePath(m_folder.file(name)).absoluteString());
    }
    static std::string shown(const std::string& url) {
        ResultRow row;
        row.url = url;
        const auto content = previewContentOf(row, [](auto&&...) { return nullptr; });
        if (!content) return "none";
        if (const Url* address = std::get_if<Url>(&*content)) return address->absoluteString();
        const WebResource& page = std::get<PreviewDocument>(*content).page;
        EXPECT_EQ(page.url.absoluteString(), url);
        return page.mimeType.value_or("-") + " " + page.textEncodingName.value_or("-") + " " +
               page.data;
    }
    std::string baseOf(const std::string& name) const {
        return "<base href=\"" + Url::fromFilePath(m_folder.file(name)).absoluteString() + "\">";
    }

    const TemporaryFolder m_folder;
};

TEST_F(PreviewDocumentTest, TextsAreReadByTheirOwnEncodingAndPagesKnowWhereTheyAre) {
    EXPECT_EQ(shown("a.txt", "caf\xE9"), "text/plain - caf\xE9");
    EXPECT_EQ(shown("b.txt", "café"), "text/plain utf-8 café");
    EXPECT_EQ(shown("c.html", std::string("\xFF\xFEh\0i\0", 6)),
              "text/html utf-8 " + baseOf("c.html") + "hi");
    EXPECT_EQ(shown("d.html", "<meta charset=\"latin1\">é"),
              "text/html - " + baseOf("d.html") + "<meta charset=\"latin1\">é");
    EXPECT_EQ(shown("e.png", "png"), "image/png - png");
}

TEST_F(PreviewDocumentTest, FeedBecomesAPageAndOtherXmlIsShownAsItIsWritten) {
    const std::string page =
        shown("a.xml",
              "<rss><channel><title>News</title><item><title>&lt;script>x</title></item>"
              "</channel></rss>");
    EXPECT_TRUE(page.starts_with("text/html utf-8 ")) << page;
    EXPECT_NE(page.find("<title>News</title>"), std::string::npos);
    EXPECT_EQ(page.find("<script"), std::string::npos);
    EXPECT_EQ(shown("b.xml", "<a>x</a>"), "text/plain - <a>x</a>");
}

TEST_F(PreviewDocumentTest, OnlyAddressesOfTheWebAreLoaded) {
    for (const char* const address : {"http://host/a", "HTTPS://host/", "feed://host/x"}) {
        EXPECT_EQ(shown(address), address);
    }
    for (const char* const address : {"", "chrome://crash", "javascript:x", "data:text/html,x",
                                      "file:///", "file:///none.png", "view-source:http://host/"}) {
        EXPECT_EQ(shown(address), "none") << address;
    }
}

}  // namespace
}  // namespace siftwell
