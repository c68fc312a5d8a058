#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>

#include "app/WriterLock.h"
#include "base/FileDescriptor.h"
#include "cli/ProgramFixture.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::AnyOf;
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

// Mounts that only those programs see that enter here, held by a process of their own; no rights
// are needed where the system lets everybody make a namespace.
class OwnMounts {
public:
    template <typename Mount>
    explicit OwnMounts(Mount mountAll) {
        int told[2] = {-1, -1};
        if (pipe2(told, O_CLOEXEC) != 0) return;
        m_holder = fork();
        if (m_holder == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            m_areMade = leave() && mountAll();
            if (write(told[1], &m_areMade, 1) == 1) pause();
            _exit(0);
        }
        close(told[1]);
        if (read(told[0], &m_areMade, 1) != 1) m_areMade = false;
        close(told[0]);
    }
    ~OwnMounts() {
        kill(m_holder, SIGKILL);
        waitpid(m_holder, nullptr, 0);
    }
    OwnMounts(const OwnMounts&) = delete;
    OwnMounts& operator=(const OwnMounts&) = delete;

    bool areMade() const { return m_areMade; }
    // For a process that has just been forked.
    void enter() const {
        setns(open((proc() + "/ns/user").c_str(), O_RDONLY | O_CLOEXEC), CLONE_NEWUSER);
        const int mounts = open((proc() + "/ns/mnt").c_str(), O_RDONLY | O_CLOEXEC);
        if (setns(mounts, CLONE_NEWNS) != 0) _exit(126);
    }
    // Where others find a file that is seen there.
    std::string outside(const std::string& path) const { return proc() + "/root" + path; }

private:
    std::string proc() const { return "/proc/" + std::to_string(m_holder); }

    static bool leave() {
        const std::string user = std::to_string(geteuid());
        const std::string group = std::to_string(getegid());
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << user + " " + user + " 1";
            std::ofstream("/proc/self/gid_map") << group + " " + group + " 1";
        } else if (unshare(CLONE_NEWNS) != 0) {
            return false;
        }
        return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    pid_t m_holder = -1;
    bool m_areMade = false;
};
constexpr const char* kNoMounts = "this system allows no mounts of one's own";

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
    expectFailure({"add", "--contents", m_home.file("pipe.html"), m_home.file("notes")}, 3,
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
        {8, "\x63", newer},
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
    overwrite(file, 8, "\x63");
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
    EXPECT_THAT(full.err,
                AllOf(HasSubstr(indexFile("many.file")),
                      testing::AnyOf(HasSubstr("File too large"), HasSubstr("disk I/O error")),
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

TEST_F(FailureTest, ADiskWithoutAnyRoomLeftNeedsNothingButRoom) {
    manyPages(600);
    page("first/a.html", "Alpha", "apple");
    const std::string data = m_home.file("data");
    std::filesystem::create_directory(data);
    const OwnMounts mounts([&data] {
        return mount("none", data.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=2m") == 0;
    });
    if (!mounts.areMade()) GTEST_SKIP() << kNoMounts;
    m_inChild = [&mounts] { mounts.enter(); };
    ASSERT_EQ(add({"first"}).status, 0);
    const std::string filler = mounts.outside(data + "/filler");
    std::multiset<std::string> before = indexed();
    for (const unsigned room : {0U, 80'000U, 130'000U, 180'000U, 230'000U}) {
        SCOPED_TRACE(room);
        { std::ofstream(filler, std::ios::app) << std::string(2 << 20, 'x'); }
        std::filesystem::resize_file(filler, std::filesystem::file_size(filler) - room);
        const Outcome full = add({"many"});
        EXPECT_EQ(full.status, 4) << full.err;
        EXPECT_THAT(full.err, testing::AnyOf(HasSubstr("No space left on device"),
                                             HasSubstr("disk is full")));
        EXPECT_LT(full.err.size(), 5000U);
        const auto now = indexed();
        EXPECT_TRUE(std::includes(now.begin(), now.end(), before.begin(), before.end()));
        before = now;
        expectInOrder();
    }
    std::filesystem::remove(filler);
    EXPECT_EQ(add({"many"}).status, 0);
    EXPECT_EQ(indexed().size(), 601U);
    expectInOrder();
}

TEST_F(FailureTest, WhatAKilledAddLeftIsFoundWhereNothingCanBeWritten) {
    const pid_t killed = startSiftwell({"add", manyPages(1000, 300)});
    while (indexed().empty() && !hasEnded(killed)) std::this_thread::yield();
    kill(killed, SIGKILL);
    wait(killed);
    const std::string data = m_home.file("data");
    const OwnMounts mounts([&data] {
        struct statvfs info {};
        if (statvfs(data.c_str(), &info) != 0) return false;
        const auto kept = info.f_flag & (ST_NOSUID | ST_NODEV | ST_NOEXEC);
        return mount(data.c_str(), data.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
               mount(nullptr, data.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY | kept,
                     nullptr) == 0;
    });
    if (!mounts.areMade()) GTEST_SKIP() << kNoMounts;
    m_inChild = [&mounts] { mounts.enter(); };
    const auto there = indexed();  // fails when anything is told
    EXPECT_GE(there.size(), 1U);
    expectInOrder();
    expectFailure({"add", m_home.file("many")}, 4, "Read-only file system");
    expectFailure({"remove", m_home.file("many/p1.html")}, 4, "Read-only file system");
    m_inChild = nullptr;
    EXPECT_EQ(indexed(), there);
}

TEST_F(FailureTest, HoweverFewFilesMayBeOpenNothingIsLostAndItIsTold) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer opens files of its own when it looks at objects";
#endif
    addTwoSources();
    rlim_t limit = 3;
    m_inChild = [&limit] {
        const rlimit files{.rlim_cur = limit, .rlim_max = limit};
        setrlimit(RLIMIT_NOFILE, &files);
    };
    std::set<int> statuses;
    for (limit = 3; limit < 40; limit += static_cast<rlim_t>(shortOrLong(3, 1))) {
        SCOPED_TRACE(limit);
        page("two/c" + std::to_string(limit) + ".html", "C", "apple");
        for (const Arguments& arguments :
             {Arguments{"search", "apple"}, {"add", m_home.file("two")}}) {
            const Outcome outcome = siftwell(arguments);
            if (outcome.status == 127) continue;  // its libraries could not be loaded
            statuses.insert(outcome.status);
            EXPECT_THAT(outcome.status, testing::AnyOf(0, 3, 4)) << outcome.err;
            EXPECT_EQ(outcome.status == 0, outcome.err.find("siftwell: ") == std::string::npos)
                << outcome.status << outcome.err;
        }
    }
    EXPECT_THAT(statuses, testing::IsSupersetOf({0, 4}));
    m_inChild = nullptr;
    expectInOrder();
    EXPECT_EQ(add({"two"}).status, 0);
    EXPECT_THAT(titles({"alpha"}), ElementsAre("Alpha"));
}

TEST_F(FailureTest, AFileThatIsRemovedUnderAnAddIsToldAndMadeAnew) {
    const std::string folder = manyPages(1500, 700);
    for (const char* name : {"many.file", "many.file.data"}) {
        SCOPED_TRACE(name);
        const pid_t add = startSiftwell({"add", folder});
        waitForGrowth(add, 100'000);
        std::filesystem::remove(indexFile(name));
        if (wait(add) == 0) {
            // It was not opened yet, and made anew: nothing may be missing.
            EXPECT_STREQ(name, "many.file.data");
            EXPECT_EQ(indexed().size(), 1500U);
            expectInOrder();
            continue;
        }
        // It may also go in the moment in which it is opened.
        const std::string file = indexFile(name);
        EXPECT_THAT(m_home.read("err.started"), AllOf(AnyOf(HasSubstr(file + " was removed"),
                                                            HasSubstr(file + " cannot be used (")),
                                                      HasSubstr("Left off.")));
    }
    EXPECT_EQ(siftwell({"add", folder}).status, 0);
    EXPECT_EQ(indexed().size(), 1500U);
    expectInOrder();
}

TEST_F(FailureTest, ASearchFindsOnWhenItsFilesAreRemoved) {
    ASSERT_EQ(siftwell({"add", manyPages(600)}).status, 0);
    const std::string pipe = m_home.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const FileDescriptor reader(open(pipe.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    const pid_t search =
        start({"search", "--json", "--limit", "0", "apple"}, pipe, m_home.file("err"));
    pollfd output{reader.get(), POLLIN, 0};
    ASSERT_EQ(poll(&output, 1, 20000), 1);  // the pipe fills up, and then it waits
    std::filesystem::remove_all(m_home.file("data"));
    std::string line(100, 0);
    std::size_t lines = 0;
    for (bool mayWrite = true; mayWrite || poll(&output, 1, 0) == 1;) {
        mayWrite = !hasEnded(search);  // what it wrote before is in the pipe
        if (poll(&output, 1, 10) != 1) continue;
        const ssize_t count = read(reader.get(), line.data(), line.size());
        lines += static_cast<std::size_t>(std::count(line.begin(), line.begin() + count, '\n'));
    }
    EXPECT_EQ(lines, 600U);
    EXPECT_EQ(wait(search), 0) << m_home.read("err");
}

TEST_F(FailureTest, ResultsThatCannotBeWrittenAreNoSuccess) {
    addTwoSources();
    EXPECT_EQ(wait(start({"search", "apple"}, "/dev/full", m_home.file("err"))), 3);
    EXPECT_THAT(m_home.read("err"), HasSubstr("Could not write the results"));
}

}  // namespace
}  // namespace siftwell
