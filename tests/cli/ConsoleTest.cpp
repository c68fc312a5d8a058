#include "cli/Console.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/JsonLine.h"

namespace siftwell {
namespace {

TEST(ConsoleTest, NumbersAreShownAsPeopleReadThem) {
    EXPECT_EQ(grouped(0) + " " + grouped(999) + " " + grouped(1000), "0 999 1,000");
    EXPECT_EQ(grouped(1234567890), "1,234,567,890");
    EXPECT_EQ(humanBytes(999), "999 B");
    EXPECT_EQ(humanBytes(1000), "1.0 kB");
    EXPECT_EQ(humanBytes(999'949), "999.9 kB");
    EXPECT_EQ(humanBytes(999'950), "1.0 MB");
    EXPECT_EQ(humanBytes(UINT64_MAX), "18446744.1 TB");
    EXPECT_EQ(pageCount(0) + ", " + pageCount(1) + ", " + pageCount(1000),
              "0 pages, 1 page, 1,000 pages");
    EXPECT_EQ(progressBar(0, 7), "[--------------------]   0%");
    EXPECT_EQ(progressBar(999, 1000), "[###################-]  99%");
    EXPECT_EQ(progressBar(9, 7), "[####################] 100%");
    EXPECT_EQ(progressBar(0, 0), "[####################] 100%");
}

TEST(ConsoleTest, NothingThatATerminalObeysIsPrinted) {
    EXPECT_EQ(printable("a\x1B[31mb\r\n\tc\x7F\x08"), "a [31mb   c  ");
    EXPECT_EQ(printable("\xC2\x9B"
                        "31m\xC2\x85"),
              " 31m ");  // as characters
    EXPECT_EQ(printable("\x9B"
                        "31m"),
              "\xEF\xBF\xBD"
              "31m");  // as a byte
    EXPECT_EQ(printable("\xE2\x80\xAE"
                        "lmth\xE2\x81\xA6"),
              " lmth ");  // turned around
    EXPECT_EQ(printable("née “Ω” \xF0\x9F\x8D\x8E"), "née “Ω” \xF0\x9F\x8D\x8E");
    EXPECT_EQ(printable(std::string("\0a", 2)), " a");
}

TEST(ConsoleTest, JsonHoldsEveryCharacterAndPrintsNoControl) {
    const nlohmann::ordered_json object = {{"title", "a\x1B\x7F\xC2\x80\xC2\x9F\xC2\xA0é\n"}};
    const std::string line = jsonLine(object);
    EXPECT_EQ(line, "{\"title\":\"a\\u001b\\u007f\\u0080\\u009f\xC2\xA0é\\n\"}");
    EXPECT_EQ(nlohmann::ordered_json::parse(line), object);
}

}  // namespace
}  // namespace siftwell
