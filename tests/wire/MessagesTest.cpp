#include "wire/Messages.h"

#include <gmock/gmock.h>

namespace siftwell::wire {
namespace {

using namespace std::string_literals;

template <typename T>
T sentAndReceived(const T& message) {
    const auto received = decodeMessage(encode(Message(message)));
    EXPECT_TRUE(received.has_value());
    const T* const same = received ? std::get_if<T>(&*received) : nullptr;
    EXPECT_NE(same, nullptr);
    return same == nullptr ? T() : *same;
}

TEST(MessagesTest, EverythingArrivesAsItWasSent) {
    const auto hello = sentAndReceived(Hello{.hasFileRules = true, .hasSystemCallFilter = false});
    EXPECT_TRUE(hello.hasFileRules);
    EXPECT_FALSE(hello.hasSystemCallFilter);
    const Place place{.path = 3, .entry = "0123456789abcdef_0"};
    EXPECT_EQ(sentAndReceived(StartOf{place}).place, place);
    EXPECT_EQ(sentAndReceived(Problem{"Änderung"}).message, "Änderung");
    const Date date = Date::fromReference(8e8 + 0.123456);
    EXPECT_EQ(sentAndReceived(EndOf{date}).changed, date);

    const auto some = sentAndReceived(Entries{{{"http://a/\xff", date, "Title"}, {"b", {}, ""}}});
    ASSERT_EQ(some.entries.size(), 2U);
    EXPECT_EQ(some.entries[0].url, "http://a/\xff") << "no bytes are changed on the way";
    EXPECT_EQ(some.entries[0].date, date);
    EXPECT_FALSE(some.entries[1].date.has_value());

    const std::string data("\0\xff<html>", 8);
    const Page page = sentAndReceived(Page{place, {"http://a/", "text/html", "UTF-8", data, date}});
    EXPECT_EQ(page.place, place);
    EXPECT_EQ(page.page.data, data);
    EXPECT_EQ(page.page.textEncodingName, "UTF-8");
    EXPECT_EQ(page.page.lastUsed, date);

    const Task task{.kind = Task::Kind::Scan,
                    .indexer = "FirefoxHistory",
                    .paths = {"/a", "/b"},
                    .lastScanDate = date,
                    .behind = place};
    const auto received = decodeTask(encode(task));
    ASSERT_TRUE(received);
    EXPECT_EQ(received->kind, task.kind);
    EXPECT_EQ(received->indexer, task.indexer);
    EXPECT_EQ(received->paths, task.paths);
    EXPECT_EQ(received->lastScanDate, date);
    EXPECT_EQ(received->lastURLDate, Date::distantPast());
    EXPECT_EQ(received->behind, place);
}

TEST(MessagesTest, WhatIsMalformedIsNoMessage) {
    const std::vector<std::string> good = {
        encode(Hello{}), encode(StartOf{{1, "x"}}), encode(Entries{{{"http://a/", {}, "t"}}}),
        encode(Page{{}, {"http://a/", "text/html", {}, "data", Date()}}), encode(EndOf{Date()})};
    for (const std::string& message : good) {
        ASSERT_TRUE(decodeMessage(message));
        for (std::size_t length = 0; length < message.size(); ++length) {
            EXPECT_FALSE(decodeMessage(message.substr(0, length)));
        }
        EXPECT_FALSE(decodeMessage(message + '\0'));
        EXPECT_FALSE(decodeTask(message));
    }
    EXPECT_FALSE(decodeMessage(encode(Task{})));
    // Lists within lists, without an end: whoever followed them would run out of stack.
    for (const char start : {'\x81', '\xa1', '\xc6', '\x5f', '\x7f', '\x9f'}) {
        EXPECT_FALSE(decodeMessage(std::string(10'000'000, start)));
        EXPECT_FALSE(decodeMessage("\x82\x02" + std::string(10'000'000, start)));
    }
    // Very many values take very much memory.
    EXPECT_FALSE(decodeMessage("\x9a\x00\x98\x96\x80"s + std::string(10'000'000, '\x00')));
    EXPECT_FALSE(decodeMessage("\x9b\xff\xff\xff\xff\xff\xff\xff\xff\x01"));
    EXPECT_FALSE(decodeMessage("\x84\x03\x61x\xf7\x61y")) << "undefined is no date";
    EXPECT_FALSE(decodeMessage("\x82\x06\xfb\x7f\xf8\x00\x00\x00\x00\x00\x00"s))
        << "nor is no number";
}

}  // namespace
}  // namespace siftwell::wire
