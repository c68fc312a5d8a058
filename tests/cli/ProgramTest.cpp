#include <chrono>

#include "cli/ProgramFixture.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class ProgramTest : public ProgramFixture {
protected:
    void date(const std::string& name, int daysAgo) {
        using std::filesystem::file_time_type;
        std::filesystem::last_write_time(m_home.file(name),
                                         file_time_type::clock::now() - std::chrono::days(daysAgo));
    }

    void addThreePages() {
        page("notes/a.html", "Alpha", "apple banana");
        page("notes/b.html", "Beta", "apple cherry status");
        page("notes/c.html", "Gamma", "pineapple");
        ASSERT_EQ(add({"notes"}).status, 0);
    }
};

TEST_F(ProgramTest, WrongUseIsExplainedAndEndsWith2) {
    const std::vector<std::pair<Arguments, std::string>> uses = {
        {{"frobnicate"}, "There is no command \"frobnicate\"."},
        {{"search"}, "WORDS is missing."},
        {{"add"}, "PATH is missing."},
        {{"remove"}, "URL is missing."},
        {{"search", "x", "--colour"}, "There is no option \"--colour\" here."},
        {{"search", "x", "--type", "some"}, "\"some\" is none of all|fragments|any"},
        {{"search", "x", "--sort", "size"}, "\"size\" is none of score|date."},
        {{"search", "x", "--limit", "-1"}, "\"-1\" is no number"},
        {{"search", "x", "--limit", "1e3"}, "\"1e3\" is no number"},
        {{"search", "x", "--limit", "99999999999999999999"}, "is no number"},
        {{"search", "x", "--limit"}, "--limit needs one value."},
        {{"search", "x", "--since", "2026-13-01"}, "\"2026-13-01\" is no date"},
        {{"search", "x", "--until", "[7d]"}, "\"[7d]\" is no date"},
        {{"check", "--quickly"}, "There is no option \"--quickly\" here."},
        {{"add", "--extract-urls", "--contents", "x"}, "Only one of --indexer, --extract-urls"},
        {{"add", "--indexer", "LocalFile", "x"}, "Did you mean \"LocalFiles\"?"},
        {{"scan", "everything"}, "There is no command \"everything\"."},
        {{"add", "gopher://example.org/"}, "Addresses of the kind \"gopher\" cannot be loaded"},
        {{"add", "/"}, "Please enter a valid URL to a page or document."},
        {{"add", "/nowhere/at/all"}, "There is no file or folder named \"/nowhere/at/all\"."},
        {{"add", ""}, "There is no file or folder named \"\"."},
        {{"add", std::string(5000, 'x')}, "cannot be reached"}};
    for (const auto& [arguments, message] : uses) {
        const Outcome outcome = siftwell(arguments);
        EXPECT_EQ(outcome.status, 2) << message;
        EXPECT_THAT(outcome.err, AllOf(testing::StartsWith("siftwell: "), HasSubstr(message)));
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_FALSE(m_home.has("data"));
}

TEST_F(ProgramTest, EveryCommandHasHelpAndTheVersionNamesThatOfTheOutput) {
    for (const char* command : {"search", "add", "remove", "status", "check", "run", "scan",
                                "sources", "filters", "defaults", "errors", "why", "quit"}) {
        const Outcome help = siftwell({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, HasSubstr(std::string("Usage: siftwell ") + command));
        EXPECT_THAT(siftwell({"--help"}).out, HasSubstr(command));
    }
    EXPECT_THAT(siftwell({"--version"}).out,
                MatchesRegex("siftwell [0-9]+\\.[0-9]+\\.[0-9]+ \\(output [0-9]+\\)\n"));
}

TEST_F(ProgramTest, AloneItGreetsAndStays) {
    const pid_t resident = startSiftwell({});
    while (!hasEnded(resident) &&
           m_home.read("out.started").find("Control-C") == std::string::npos) {
        std::this_thread::yield();
    }
    EXPECT_THAT(m_home.read("out.started"), HasSubstr("siftwell add FOLDER"));
    kill(resident, SIGTERM);
    EXPECT_EQ(wait(resident), 0);
}

TEST_F(ProgramTest, ReadingLeavesNoTraceOnAFreshComputer) {
    m_isFresh = true;
    expectFailure({"search", "apple"}, 1, "Nothing is indexed yet.");
    expectFailure({"why", "http://example.org/"}, 1, "");
    for (const char* command :
         {"status", "check", "sources", "filters", "defaults", "errors", "quit"})
        EXPECT_EQ(siftwell({command}).status, 0) << command;
    for (const char* folder : {"config", "data", "state"}) EXPECT_FALSE(m_home.has(folder));
}

TEST_F(ProgramTest, PagesAreFoundByEverySearchType) {
    addThreePages();
    const auto search = [this](const std::string& type, Arguments words) {
        words.insert(words.begin(), {"--type", type});
        return titles(words);
    };
    EXPECT_THAT(search("all", {"apple", "banana"}), ElementsAre("Alpha"));
    EXPECT_THAT(search("any", {"banana", "cherry"}), UnorderedElementsAre("Alpha", "Beta"));
    EXPECT_THAT(search("fragments", {"app", "cher"}), ElementsAre("Beta"));
    EXPECT_THAT(search("any-fragments", {"nana", "ineapp"}),
                UnorderedElementsAre("Alpha", "Gamma"));
    EXPECT_THAT(search("raw", {"*apple", "!banana"}), UnorderedElementsAre("Beta", "Gamma"));
    EXPECT_THAT(search("raw", {"\"apple cherry\""}), ElementsAre("Beta"));
    EXPECT_THAT(titles({"APPLE", "& Banana!"}), ElementsAre("Alpha"));
    // Words that look like something else on a command line.
    EXPECT_THAT(titles({"status"}), ElementsAre("Beta"));
    EXPECT_THAT(titles({"[banana,apple]"}), ElementsAre("Alpha"));
    EXPECT_THAT(titles({"--", "--banana"}), ElementsAre("Alpha"));
    for (const char* none : {"durian", "!!!", "", "the and of", "\xFF\xFE"}) {
        const Outcome outcome = siftwell({"search", "--", none});
        EXPECT_EQ(outcome.status, 1) << none;
        EXPECT_EQ(outcome.err, "Nothing found.\n");
    }
}

TEST_F(ProgramTest, ResultsAreLimitedByNumberDateAndSource) {
    for (const char* name : {"old/1.html", "new/2.html", "new/3.html"}) page(name, name, "apple");
    page("new/4.html", "often", "apple apple apple apple");
    date("old/1.html", 400);
    date("new/2.html", 10);
    date("new/3.html", 3);
    date("new/4.html", 40);
    ASSERT_EQ(add({"old", "new"}).status, 0);
    EXPECT_THAT(titles({"apple", "--sort", "date"}),
                ElementsAre("new/3.html", "new/2.html", "often", "old/1.html"));
    EXPECT_THAT(titles({"apple", "--sort", "date", "--limit", "1"}), ElementsAre("new/3.html"));
    EXPECT_THAT(titles({"apple", "--source", "new", "--limit", "1"}), ElementsAre("often"));
    EXPECT_THAT(titles({"apple", "--limit", "0"}), SizeIs(4));
    EXPECT_THAT(titles({"apple", "--limit", "1", "--until", "1y"}), ElementsAre("old/1.html"));
    EXPECT_THAT(titles({"apple", "--since", "2w", "--until", "5d"}), ElementsAre("new/2.html"));
    EXPECT_THAT(titles({"apple", "--since", "2999-01-01"}), IsEmpty());
    EXPECT_THAT(titles({"apple", "--source", "old", "--source", "old"}), ElementsAre("old/1.html"));
    EXPECT_THAT(titles({"--source", "old", "--source", "new", "apple"}), SizeIs(4));
    expectFailure({"search", "--source", "nobody", "apple"}, 1,
                  "no pages of a source named \"nobody\"");
}

TEST_F(ProgramTest, JsonHoldsWhatIsDocumented) {
    addThreePages();
    using Fields = std::map<std::string, nlohmann::json>;
    const Lines results = found({"banana"});
    ASSERT_THAT(results, SizeIs(1));
    EXPECT_THAT(
        results[0].get<Fields>(),
        UnorderedElementsAre(Key("url"), Key("title"), Key("score"), Key("date"), Key("source"),
                             Key("indexer"), Key("cachePath"), Key("snippet")));
    EXPECT_EQ(results[0]["url"], "file://" + m_home.file("notes/a.html"));
    EXPECT_EQ(results[0]["source"], "notes");
    EXPECT_EQ(results[0]["indexer"], "LocalFiles");
    EXPECT_EQ(results[0]["cachePath"], "");
    EXPECT_GT(results[0]["score"], 0);
    EXPECT_THAT(results[0]["date"].get<std::string>(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z"));

    Lines status = linesOf(siftwell({"status", "--json"}));
    ASSERT_THAT(status, SizeIs(2));
    const auto tool = status[1]["indexerTool"];  // as the kernel has it
    EXPECT_TRUE(tool["landlock"].is_boolean() && tool["seccomp"].is_boolean()) << tool;
    status[1].erase("indexerTool");
    EXPECT_EQ(status[0]["index"], "notes.file");
    EXPECT_EQ(status[0]["documents"], 3);
    EXPECT_GT(status[0]["bytes"], 4096);
    EXPECT_EQ(status[1],
              nlohmann::json::parse(R"({"lastScan":null,"runningCopy":null,"activity":null})"));
    EXPECT_EQ(
        linesOf(siftwell({"check", "--json"}))[0],
        nlohmann::json::parse(
            R"({"index":"notes.file","documents":3,"withoutRecord":0,"error":null,"damage":[],"moreDamage":0,"recordsError":null})"));
}

TEST_F(ProgramTest, OnlyWhatChangedIsAddedAgain) {
    addThreePages();
    EXPECT_THAT(add({"notes"}).err, HasSubstr("0 pages added"));
    page("notes/b.html", "Beta", "durian");
    date("notes/b.html", -1);
    EXPECT_THAT(add({"notes"}).err, HasSubstr("1 page added"));
    EXPECT_THAT(titles({"durian"}), ElementsAre("Beta"));
    EXPECT_THAT(titles({"cherry"}), IsEmpty());
    EXPECT_EQ(siftwell({"check"}).out, "notes.file: 3 pages, in order\n");
    std::filesystem::create_directory(m_home.file("empty"));
    const Outcome empty = add({"empty"});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.err, "0 pages added, 0 looked at.\n");
}

TEST_F(ProgramTest, FilesAreAddedByNameAndFoldersWithWhatCanBeRead) {
    page("[odd, names]/a.html", "Odd", "apple");
    page("mixed/ads/b.html", "Advertisement", "apple");
    page("mixed/untyped", "Untyped", "apple");
    m_home.write("mixed/plain", "apple that may be anything");
    m_home.write("mixed/picture.jpg", "apple");
    m_home.write("mixed/empty.html", "");
    EXPECT_EQ(add({"[odd, names]"}).status, 0);
    EXPECT_THAT(add({"mixed"}).err, HasSubstr("/mixed/empty.html"));
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("Odd", "Untyped"));

    const std::string file = page("single.html", "Single", "elderberry");
    EXPECT_EQ(siftwell({"add", "--contents", "file://" + file}).status, 0);
    EXPECT_EQ(found({"elderberry"})[0]["indexer"], "SingleURL");
    const Outcome refused = add({"mixed/picture.jpg", "mixed/plain", "single.html"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.err, AllOf(HasSubstr("Not indexed: " + m_home.file("mixed/plain")),
                                   HasSubstr("Siftwell cannot parse files of type \"jpg\"")));
}

TEST_F(ProgramTest, RemovedPagesAreNotFoundAnyMore) {
    addThreePages();
    std::filesystem::create_directory_symlink(m_home.file("notes"), m_home.file("link"));
    EXPECT_EQ(siftwell({"remove", m_home.file("link/a.html")}).status, 0);
    EXPECT_EQ(siftwell({"remove", "file://" + m_home.file("notes/b.html")}).status, 0);
    const Outcome again =
        siftwell({"remove", m_home.file("notes/a.html"), m_home.file("notes/c.html")});
    EXPECT_EQ(again.status, 3);
    EXPECT_EQ(again.err, m_home.file("notes/a.html") + " is not in the index.\n");
    EXPECT_THAT(titles({"--type", "fragments", "apple"}), IsEmpty());
    EXPECT_EQ(siftwell({"status"}).status, 0);
}

TEST_F(ProgramTest, SpeaksFrenchAndPrintsTheSameJson) {
    m_variables["LANGUAGE"] = "fr";
    expectFailure({"search", "x"}, 1, "Rien n’est encore indexé.");
    expectFailure({"search", "--limit", "x", "y"}, 2, "n’est pas un nombre");
    addThreePages();
    EXPECT_THAT(siftwell({"status"}).out, HasSubstr("Total : 3 pages"));
    const Lines results = found({"banana"});
    m_variables["LANGUAGE"] = "en";
    EXPECT_EQ(results, found({"banana"}));
}

TEST_F(ProgramTest, WhatIsKeptIsPrivateToTheUser) {
    addThreePages();
    add({"notes"});
    for (const char* folder : {"config", "data", "state"}) {
        using std::filesystem::recursive_directory_iterator;
        for (const auto& entry : recursive_directory_iterator(m_home.file(folder))) {
            EXPECT_EQ(static_cast<int>(entry.symlink_status().permissions()) & 077, 0);
        }
    }
}

}  // namespace
}  // namespace siftwell
