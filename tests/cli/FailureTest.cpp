#include <sys/resource.h>
#include <sys/stat.h>

#include <fstream>

#include "app/WriterLock.h"
#include "cli/ProgramFixture.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// As on a disk that is full: whatever this process starts cannot make a file longer.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{.rlim_cur = bytes, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before{};
    void (*m_handler)(int) = SIG_DFL;
};

class FailureTest : public ProgramFixture {
protected:
    void addTwoSources() {
        page("one/a.html", "Alpha", "apple");
        page("two/b.html", "Beta", "apple");
        ASSERT_EQ(add({"one", "two"}).status, 0);
    }

    void overwrite(const std::string& path, std::streamoff at, const std::string& bytes) {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(at);
        file << bytes;
    }

    std::string bytesOf(const std::string& name) { return m_home.read("data/Siftwell/" + name); }
};

TEST_F(FailureTest, WhatCannotBeReadIsNamedAndTheRestIsAdded) {
    page("notes/a.html", "Alpha", "apple");
    ASSERT_EQ(mkfifo(m_home.file("pipe.html").c_str(), 0600), 0);
    expectFailure({"add", m_home.file("pipe.html"), m_home.file("notes")}, 3,
                  "file://" + m_home.file("pipe.html"));
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    if (geteuid() == 0) return;  // may read everything
    chmod(page("notes/locked.html", "Locked", "apple").c_str(), 0);
    std::filesystem::create_directory(m_home.file("notes/closed"));
    chmod(m_home.file("notes/closed").c_str(), 0);
    const Outcome outcome = add({"notes"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("locked.html"), HasSubstr("notes/closed")));
    chmod(m_home.file("notes/closed").c_str(), 0700);
}

TEST_F(FailureTest, FoldersThatCannotBeWrittenAreToldBeforeAnythingIsRead) {
    page("notes/a.html", "Alpha", "apple");
    // Nobody can make anything here, whoever he is.
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
        const std::string before = std::exchange(m_variables[variable], "/proc");
        expectFailure({"add", m_home.file("notes")}, 4, "Could not create the folder /proc/");
        m_variables[variable] = before;
    }
    EXPECT_THAT(titles({"apple"}), IsEmpty());
}

TEST_F(FailureTest, WhatStandsInThePlaceOfAFolderIsToldAndLeft) {
    page("notes/a.html", "Alpha", "apple");
    const Arguments add = {"add", m_home.file("notes")};
    m_home.write("config/siftwell", "");
    expectFailure(add, 4, "There is a file where the folder " + m_home.file("config/siftwell"));
    std::filesystem::remove(m_home.file("config/siftwell"));

    m_home.write("data/Siftwell", "mine");
    expectFailure(add, 4, "There is a file with the name \"Siftwell\".  Please remove it");
    expectFailure({"search", "apple"}, 4, "There is a file with the name \"Siftwell\".");
    EXPECT_EQ(m_home.read("data/Siftwell"), "mine");
    std::filesystem::remove(m_home.file("data/Siftwell"));

    std::filesystem::create_symlink("nowhere", m_home.file("data/Siftwell"));
    expectFailure(add, 4, "Please make sure that the \"Siftwell\" alias points to a valid folder");
    std::filesystem::create_directory(m_home.file("data/nowhere"));
    EXPECT_EQ(siftwell(add).status, 0);
}

TEST_F(FailureTest, ASecondWriterIsRefusedAndReadersAreNot) {
    addTwoSources();
    const auto lock = WriterLock::take(m_home.file("state/siftwell"));
    ASSERT_TRUE(lock);
    const std::string process = std::to_string(getpid());
    expectFailure({"add", m_home.file("one")}, 5, "Another Siftwell (process " + process + ")");
    expectFailure({"remove", m_home.file("one/a.html")}, 5, "Please wait until it has finished");
    EXPECT_THAT(titles({"apple"}), SizeIs(2));
    EXPECT_EQ(linesOf(siftwell({"status", "--json"})).back()["runningCopy"], getpid());
    expectInOrder();
}

TEST_F(FailureTest, DamagedSettingsAreNeverOverwritten) {
    addTwoSources();
    const std::string name = "config/siftwell/com.velotrin.Siftwell.plist";
    m_home.write(name, "bplist00 and no more");
    const Arguments add = {"add", m_home.file("one")};
    for (const Arguments& arguments :
         {add, {"search", "apple"}, {"status"}, {"check"}, {"remove", "file:///x"}}) {
        expectFailure(arguments, 4, "The settings file " + m_home.file(name) + " is damaged.");
    }
    EXPECT_EQ(m_home.read(name), "bplist00 and no more");
    std::filesystem::remove(m_home.file(name));
    EXPECT_THAT(titles({"apple"}), SizeIs(2));
}

TEST_F(FailureTest, ADamagedOrNewerIndexFileIsNamedAndLeftAsItIs) {
    addTwoSources();
    const std::string file = indexFile("one.file");
    const std::string good = bytesOf("one.file");
    const std::string newer = "The index " + file + " was written by another version of Siftwell";
    const std::vector<std::tuple<std::streamoff, std::string, std::string>> changes = {
        {8, "\x02", newer},
        {14, std::string(1, static_cast<char>(~good[14])), file},  // a byte made at random
        {4096, std::string(200, '?'), file}};
    for (const auto& [at, bytes, message] : changes) {
        overwrite(file, at, bytes);
        const std::string changed = bytesOf("one.file");
        expectFailure({"search", "apple"}, 3, message);
        EXPECT_THAT(titles({"apple"}), testing::Contains("Beta"));
        expectFailure({"check"}, 4, message);
        expectFailure({"add", m_home.file("one")}, 4, file);
        if (message == newer) expectFailure({"status"}, 4, message);
        EXPECT_TRUE(bytesOf("one.file") == changed);
        overwrite(file, 0, good);
        EXPECT_THAT(titles({"apple"}), SizeIs(2));
    }
    overwrite(file, 8, "\x02");
    page("two/c.html", "Gamma", "apple");
    expectFailure({"add", m_home.file("two")}, 4, newer);
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("Beta", "Gamma"));
}

TEST_F(FailureTest, ADamagedSideFileIsSetAsideAndItsPagesAreIndexedAgain) {
    addTwoSources();
    const std::string side = "one.file.data";
    overwrite(indexFile(side), 0, std::string(300, '?'));
    const std::string damaged = bytesOf(side);
    expectFailure({"search", "apple"}, 3, indexFile(side));
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("a.html", "Beta"));
    expectFailure({"check"}, 4, indexFile(side));
    EXPECT_TRUE(bytesOf(side) == damaged);  // reading changes nothing
    expectFailure({"add", m_home.file("one")}, 4, "The file was moved to " + indexFile(side));
    EXPECT_TRUE(bytesOf(side + ".damaged") == damaged);
    EXPECT_EQ(add({"one"}).status, 0);
    EXPECT_THAT(titles({"apple"}), UnorderedElementsAre("Alpha", "Beta"));
    expectInOrder();
}

TEST_F(FailureTest, AFullDiskLosesNothingThatWasIndexed) {
    manyPages(600);
    page("first/a.html", "Alpha", "apple");
    ASSERT_EQ(add({"first"}).status, 0);
    Outcome full;
    {
        const FullDisk disk(150'000);
        full = add({"many"});
    }
    EXPECT_EQ(full.status, 4) << full.err;
    EXPECT_THAT(full.err, AllOf(HasSubstr(indexFile("many.file")), HasSubstr("File too large"),
                                HasSubstr("Left off. What was added stays")));
    EXPECT_LT(full.err.size(), 5000U);  // not a line for every page
    EXPECT_GE(indexed().size(), 1U);
    expectInOrder();

    EXPECT_EQ(add({"many"}).status, 0);
    const auto all = indexed();
    EXPECT_EQ(all.size(), 601U);
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), 601U);
    const FullDisk disk(1000);
    expectFailure({"add", m_home.file("first")}, 4, m_home.file("config/siftwell"));
}

TEST_F(FailureTest, ResultsThatCannotBeWrittenAreNoSuccess) {
    addTwoSources();
    EXPECT_EQ(wait(start({"search", "apple"}, "/dev/full", m_home.file("err"))), 3);
    EXPECT_THAT(m_home.read("err"), HasSubstr("Could not write the results"));
}

}  // namespace
}  // namespace siftwell
