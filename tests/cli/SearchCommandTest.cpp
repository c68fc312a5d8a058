#include <pty.h>

#include "base/FileDescriptor.h"
#include "cli/ProgramFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

class SearchCommandTest : public ProgramFixture {
protected:
    // What a terminal of that width is sent.
    std::string onTerminal(const Arguments& arguments, unsigned short columns) {
        int ends[2];
        const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        if (openpty(&ends[0], &ends[1], nullptr, nullptr, &size) != 0) return "";
        const FileDescriptor screen(ends[0]);
        FileDescriptor program(ends[1]);
        const pid_t process =
            start(arguments, "/proc/self/fd/" + std::to_string(program.get()), m_home.file("err"));
        wait(process);
        program = FileDescriptor();
        std::string shown;
        char next = 0;
        while (read(screen.get(), &next, 1) == 1) shown += next;
        return shown;
    }
};

TEST_F(SearchCommandTest, SnippetsAreForTerminalsAndForPrograms) {
    std::string text = "Nothing of it here. ";
    for (int i = 0; i < 100; ++i) text += "filler ";
    page("one/a.html", "Alpha", text + "An Ápple &#27;[31m a day, with banana. " + text);
    ASSERT_EQ(add({"one"}).status, 0);
    m_variables["TERM"] = "xterm";
    const std::string shown = onTerminal({"search", "apple", "banana"}, 40);
    EXPECT_THAT(shown, HasSubstr("\x1B[1mÁpple\x1B[0m"));
    EXPECT_THAT(shown, HasSubstr("\x1B[1mbanana\x1B[0m"));
    EXPECT_THAT(shown, Not(HasSubstr("\x1B[31m")));
    std::istringstream lines(shown);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (line.find("file:") == line.npos) EXPECT_LE(line.size(), 40U + 20U) << line;
    }
    EXPECT_EQ(count, 5) << shown;
    m_variables["TERM"] = "dumb";
    const std::string plain = onTerminal({"search", "apple", "banana"}, 40);
    EXPECT_THAT(plain, Not(HasSubstr("\x1B")));
    EXPECT_THAT(plain, HasSubstr("banana"));

    const std::string piped = siftwell({"search", "apple"}).out;
    EXPECT_THAT(piped, Not(HasSubstr("day")));
    const std::string snippet = found({"apple"}).at(0)["snippet"];
    EXPECT_THAT(snippet, HasSubstr("filler An Ápple"));
    EXPECT_THAT(snippet, HasSubstr(" a day, with banana. Nothing"));
}

TEST_F(SearchCommandTest, SourcesThatTakeNoPartInSearchesAreLeftOutUnlessTheyAreNamed) {
    page("one/a.html", "One", "apple");
    page("two/b.html", "Two", "apple");
    ASSERT_EQ(add({"one", "two"}).status, 0);
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("One", "Two"));
    ASSERT_EQ(siftwell({"sources", "set", "one", "Search", "no"}).status, 0);
    EXPECT_THAT(titles({"apple"}), ElementsAre("Two"));
    EXPECT_THAT(titles({"--source", "one", "apple"}), ElementsAre("One"));
    ASSERT_EQ(siftwell({"sources", "set", "two", "Search", "no"}).status, 0);
    EXPECT_THAT(titles({"apple"}), IsEmpty());
    expectFailure({"search", "apple"}, 1, "Some sources take no part in searches");
}

}  // namespace
}  // namespace siftwell
