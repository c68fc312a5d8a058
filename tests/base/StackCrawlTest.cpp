#include "base/StackCrawl.h"

#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "base/Exception.h"
#include "base/FileDescriptor.h"
#include "base/Sanitizers.h"
#include "base/StackTraces.h"
#include "support/LoggedLines.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

__attribute__((noinline)) StackFrames framesFromHere() { return StackFrames::ofThisThread(); }

std::string crawl(std::span<const StackFrame> frames) {
    const FileDescriptor file(memfd_create("crawl", MFD_CLOEXEC));
    writeStackCrawl(file.get(), frames);
    std::string text(std::size_t{1} << 16, '\0');
    const ssize_t length = pread(file.get(), text.data(), text.size(), 0);
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

TEST(StackCrawlTest, NamesFunctionsOfTheProgramAndOfLibraries) {
    const StackFrames frames = framesFromHere();
    const std::string text = crawl(frames.all());
    EXPECT_THAT(text,
                AllOf(StartsWith("   Frame             Caller\n"), HasSubstr("framesFromHere"),
                      ContainsRegex("\n  [0-9A-F]{16}  [0-9A-F]{16}  "
                                    "[^\n]*framesFromHere[^\n]*\\+[0-9A-F]+\n"),
                      HasSubstr("__libc_start_main")));
    EXPECT_LT(frames.all()[0].frame, frames.all()[1].frame);
}

TEST(StackCrawlTest, AddressOutsideAnyImageIsUnknown) {
    const StackFrame nowhere{.frame = 0x10, .returnAddress = 0x20};
    EXPECT_EQ(StackLine(nowhere).text(), "  0000000000000010  0000000000000020  (unknown)");
    const auto onTheStack = reinterpret_cast<std::uintptr_t>(&nowhere);
    EXPECT_THAT(std::string(StackLine({.returnAddress = onTheStack}).text()),
                HasSubstr("(unknown)"));
}

// What a thread that throws and catches writes to the log.
class StackTracesTest : public testing::Test {
protected:
    void SetUp() override {
#ifdef SIFTWELL_SANITIZED
        GTEST_SKIP() << "the sanitizer watches exceptions itself";
#endif
    }

    std::string logOf(const std::function<void()>& work, bool isCollecting = true) {
        LoggedLines log;
        std::jthread([&] {
            if (isCollecting) collectStackTracesOnThrow();
            try {
                work();
            } catch (const std::exception& exception) {
                printStackTrace(exception);
            }
        }).join();
        return log.takeText();
    }
};

__attribute__((noinline)) void takeFrom(const std::vector<int>& values, std::size_t place) {
    EXPECT_EQ(values.at(place), 0);
}

TEST_F(StackTracesTest, TraceOfAnyExceptionBeginsWhereItWasThrown) {
    EXPECT_THAT(logOf([] { takeFrom({}, 3); }),
                AllOf(HasSubstr("__throw_out_of_range"), HasSubstr("takeFrom")));
    const auto throwAnother = [] {
        try {
            takeFrom({}, 3);
        } catch (const std::out_of_range&) {
            throw NamedException("CopyFailed", "");
        }
    };
    EXPECT_THAT(logOf(throwAnother),
                AllOf(Not(HasSubstr("takeFrom")), HasSubstr("StackTracesTest")));
}

TEST_F(StackTracesTest, ThreadThatDoesNotCollectHasNoTraces) {
    const std::string unknown = "The exception's call stack is unknown.\n";
    EXPECT_EQ(logOf([] { takeFrom({}, 3); }, false), unknown);
    const auto throwFromElsewhere = [] {
        std::exception_ptr thrownElsewhere;
        std::jthread([&] {
            thrownElsewhere = std::make_exception_ptr(NamedException("CopyFailed", ""));
        }).join();
        std::rethrow_exception(thrownElsewhere);
    };
    EXPECT_EQ(logOf(throwFromElsewhere), unknown);
}

}  // namespace
}  // namespace siftwell
