#include "text/PageBase.h"

#include <gtest/gtest.h>

namespace siftwell {
namespace {

std::string based(std::string_view page, const char* address = "http://host/folder/page.html#x") {
    return pageWithBase(page, *Url::parse(address));
}

TEST(PageBaseTest, BaseStandsInFrontOfAllElementsAndBehindWhatMustComeFirst) {
    const std::string base = "<base href=\"http://host/folder/page.html\">";
    for (const char* const prolog :
         {"", "\xEF\xBB\xBF", "<!DOCTYPE html>", "\n<!-- <html> -->\r\n<!doctype html >",
          "<?xml version='1.0'?><!DOCTYPE html PUBLIC '-//W3C//DTD'>"}) {
        for (const char* const rest : {"", "<html><head>", " text", "<!-- no end", "<!doctype"}) {
            EXPECT_EQ(based(std::string(prolog) + rest), prolog + base + rest);
        }
    }
    EXPECT_EQ(based("", "http://host/?a=1&b=\"2"),
              "<base href=\"http://host/?a=1&amp;b=&quot;2\">");
}

TEST(PageBaseTest, BaseOfThePageItselfCountsWhenItIsAWebAddress) {
    const auto begins = [](const char* page, const std::string& address) {
        return based(page).starts_with("<base href=\"" + address + "\">");
    };
    EXPECT_TRUE(begins("<head><BASE target=a HREF='/other/'>", "http://host/other/"));
    EXPECT_TRUE(begins("<base\nhref = sub/x >", "http://host/folder/sub/x"));
    EXPECT_TRUE(begins("<base href=\"https://a b/\">", "http://host/folder/page.html"));
    EXPECT_TRUE(begins("<base href=\" https://other/a b \">", "https://other/a%20b"));
    for (const char* const none :
         {"<base href='file:///etc/'>", "<base href='javascript:x'>", "<basefont href='/x'>",
          "<base>", "<base href", "<base href=", "<base href='"}) {
        EXPECT_TRUE(begins(none, "http://host/folder/page.html")) << none;
    }
}

}  // namespace
}  // namespace siftwell
