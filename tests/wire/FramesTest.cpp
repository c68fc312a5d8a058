#include "wire/Frames.h"

#include <gmock/gmock.h>

namespace siftwell {
namespace {

std::vector<std::string> messagesIn(FrameReader& reader) {
    std::vector<std::string> messages;
    while (const auto message = reader.next()) messages.emplace_back(*message);
    return messages;
}

TEST(FramesTest, MessagesArriveWholeHoweverTheirBytesDo) {
    const std::vector<std::string> sent = {"one", "", std::string(100'000, 'x'),
                                           std::string(5, '\0')};
    std::string bytes;
    for (const std::string& message : sent) bytes += frameOf(message);
    for (const std::size_t step : {std::size_t{1}, std::size_t{7}, bytes.size()}) {
        FrameReader reader;
        std::vector<std::string> received;
        for (std::size_t at = 0; at < bytes.size(); at += step) {
            reader.input() += bytes.substr(at, step);
            for (std::string& message : messagesIn(reader)) received.push_back(std::move(message));
        }
        EXPECT_EQ(received, sent) << step;
        EXPECT_TRUE(reader.input().empty()) << "what was taken takes no memory";
    }
}

TEST(FramesTest, ALengthThatCannotBeEndsTheReading) {
    FrameReader reader;
    reader.input() += frameOf("good") + "\xff\xff\xff\xff" + frameOf("behind it");
    EXPECT_THAT(messagesIn(reader), testing::ElementsAre("good"));
    EXPECT_TRUE(reader.isBroken());
    EXPECT_TRUE(messagesIn(reader).empty());
}

}  // namespace
}  // namespace siftwell
