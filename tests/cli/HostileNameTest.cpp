#include <fstream>

#include "cli/ProgramFixture.h"
#include "fulltext/Index.h"
#include "text/Utf8.h"

namespace siftwell {
namespace {

// No control characters but line ends, whatever way they are written.
void expectHarmless(const std::string& text) {
    ASSERT_TRUE(isValidUtf8(text)) << text;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        const bool isControl = next.character < 0x20 && next.character != '\n';
        const bool isHigh = next.character >= 0x7F && next.character < 0xA0;
        EXPECT_FALSE(isControl || isHigh) << "at " << at << " of " << text;
        at += next.bytes;
    }
}

class HostileNameTest : public ProgramFixture {
protected:
    Outcome harmless(const Arguments& arguments) {
        Outcome outcome = siftwell(arguments);
        expectHarmless(outcome.out);
        expectHarmless(outcome.err);
        return outcome;
    }
};

TEST_F(HostileNameTest, FilesOfAnyNameAreFoundAndRemovedWithoutHarm) {
    std::vector<std::string> names = {"\x1B[2Jred", "two\nlines",         "\xFF\xFE",  "\u009B31m",
                                      "\x9B[m",     "100%25 a?b#c",       "\u202Ecba", "-rf",
                                      "\x7F\r\x08", std::string(250, 'n')};
    Arguments remove = {"remove"};
    for (const std::string& name : names) {
        remove.push_back(m_home.write("pages/" + name + ".html", "<html>apple</html>"));
    }
    EXPECT_EQ(harmless({"add", m_home.file("pages")}).status, 0);
    EXPECT_EQ(harmless({"search", "apple"}).status, 0);
    EXPECT_EQ(linesOf(harmless({"search", "--json", "apple"})).size(), names.size());
    EXPECT_THAT(harmless({"add", m_home.file("pages")}).err, testing::HasSubstr("0 pages added"));
    EXPECT_EQ(harmless(remove).status, 0);
    EXPECT_EQ(harmless(remove).status, 3);
    EXPECT_EQ(harmless({"search", "apple"}).status, 1);
}

TEST_F(HostileNameTest, SourcesOfAnyNameAreShownWithoutHarm) {
    const std::vector<std::string> names = {"\x1B]0;x\x07", "\u009B2J", "\x9B", "..x", "a%b\n"};
    Arguments add = {"add"};
    for (const std::string& name : names) {
        page(name + "/a.html", name, "apple");
        add.push_back(m_home.file(name));
    }
    EXPECT_EQ(harmless(add).status, 0);
    for (const std::string& name : names) {
        EXPECT_EQ(linesOf(harmless({"search", "--json", "--source", name, "apple"})).size(), 1U);
    }
    for (const char* command : {"status", "check"}) {
        EXPECT_EQ(harmless({command}).status, 0);
        EXPECT_GE(linesOf(harmless({command, "--json"})).size(), names.size());
    }
    // Damage is told by the names of the files.
    for (const auto& entry : std::filesystem::directory_iterator(m_home.file("data/Siftwell"))) {
        if (entry.path().extension() == ".file") {
            std::fstream(entry.path(), std::ios::in | std::ios::out).seekp(14) << "?";
        }
    }
    for (const Arguments& arguments :
         {Arguments{"search", "apple"}, {"check"}, {"add", m_home.file(names[1])}}) {
        EXPECT_EQ(harmless(arguments).status, 4);
    }
}

TEST_F(HostileNameTest, WrongArgumentsAreRepeatedWithoutHarm) {
    for (const Arguments& arguments : {Arguments{"\x1B[31m"},
                                       {"search", "x", "--\x1B[31m"},
                                       {"search", "x", "--type", "\x9B"},
                                       {"add", "\x1B[31m"},
                                       {"search", "x", "--since", "\x1B[31m"},
                                       {"search", "\x1B[31m", "--source", "\x1B[31m"},
                                       {"remove", "\x1B[31m"}}) {
        EXPECT_NE(harmless(arguments).status, 0);
    }
}

TEST_F(HostileNameTest, TheLogHoldsNoControlCharacters) {
    for (const char* folder : {"data/Siftwell", "state/siftwell"}) {
        std::filesystem::create_directories(m_home.file(folder));
    }
    const std::string path = indexFile("\x1B[2J\x9B.file");
    const auto index = fulltext::Index::create(path, {.internalName = std::nullopt}, {});
    ASSERT_TRUE(index && (*index)->add({"file", "///a"}, "apple", "apple"));
    ASSERT_TRUE((*index)->close().isOk());
    EXPECT_EQ(harmless({"search", "apple"}).status, 0);
    const std::string log = m_home.read("state/siftwell/siftwell.log");
    EXPECT_THAT(log, testing::HasSubstr("has no internal name"));
    expectHarmless(log);
}

}  // namespace
}  // namespace siftwell
