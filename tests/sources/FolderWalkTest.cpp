#include "sources/FolderWalk.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class FolderWalkTest : public testing::Test {
protected:
    // The files below, by their paths relative to the folder.
    std::vector<std::string> walk() {
        FolderWalk files(m_folder.path(),
                         [this](const Status& status) { m_errors.push_back(status.message()); });
        std::vector<std::string> found;
        for (std::string path; files.next(path);) {
            EXPECT_TRUE(path.starts_with(m_folder.path() + "/"));
            found.push_back(path.substr(m_folder.path().size() + 1));
        }
        return found;
    }

    void link(const std::string& target, const std::string& name) {
        ASSERT_EQ(symlink(target.c_str(), m_folder.file(name).c_str()), 0);
    }

    TemporaryFolder m_folder;
    std::vector<std::string> m_errors;
};

TEST_F(FolderWalkTest, FilesComeInTheOrderOfTheirNamesFolderByFolder) {
    for (const char* name : {"b/2", "b/10", "b/a/x", "a.html", "c", "B", "b.html", ".hidden/y"}) {
        m_folder.write(name, "");
    }
    std::filesystem::create_directory(m_folder.file("empty"));
    EXPECT_THAT(walk(),
                ElementsAre(".hidden/y", "B", "a.html", "b/10", "b/2", "b/a/x", "b.html", "c"));
    EXPECT_THAT(m_errors, IsEmpty());
}

TEST_F(FolderWalkTest, LinksToFilesAreFollowedAndLinksToFoldersAreNot) {
    m_folder.write("real/file", "");
    link("real/file", "1 to a file");
    link("real", "2 to a folder");
    link(".", "3 to the folder above");
    link("nowhere", "4 to nothing");
    link("5 to itself", "5 to itself");
    ASSERT_EQ(mkfifo(m_folder.file("6 pipe").c_str(), 0600), 0);
    EXPECT_THAT(walk(), ElementsAre("1 to a file", "real/file"));
    EXPECT_THAT(m_errors, IsEmpty());
}

TEST_F(FolderWalkTest, AFileIsAsOldAsWhatStandsThere) {
    const timespec old[2] = {{1'000'000, 0}, {1'000'000, 500'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_folder.write("a", "").c_str(), old, 0), 0);
    link("a", "b");
    FolderWalk files(m_folder.path(), [](const Status& status) { FAIL() << status.message(); });
    std::string path;
    ASSERT_TRUE(files.next(path));
    EXPECT_EQ(files.modified(), Date::fromUnix(1'000'000.5));
    ASSERT_TRUE(files.next(path));
    EXPECT_GT(files.modified(), Date::fromUnix(1'000'001));  // of the link itself
}

TEST_F(FolderWalkTest, NamesAreBytes) {
    for (const char* name : {"\xFF\xFE", "new\nline", "\x1B[2J", "ä"}) m_folder.write(name, "");
    EXPECT_THAT(walk(), ElementsAre("\x1B[2J", "new\nline", "ä", "\xFF\xFE"));
}

TEST_F(FolderWalkTest, WhatIsNestedTooDeeplyIsToldAndTheRestIsWalked) {
    std::string deep = m_folder.path();
    for (int i = 0; i < 600; ++i) {
        deep += "/d";
        ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
    }
    m_folder.write("e", "");
    EXPECT_THAT(walk(), ElementsAre("e"));
    EXPECT_THAT(m_errors, ElementsAre(HasSubstr("is nested too deeply")));
}

TEST_F(FolderWalkTest, PathsTooLongForTheSystemAreTold) {
    const std::string name(250, 'n');
    const int start = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(chdir(m_folder.path().c_str()), 0);
    for (int i = 0; i < 20; ++i) {  // 5000 bytes
        ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
        ASSERT_EQ(chdir(name.c_str()), 0);
    }
    ASSERT_EQ(fchdir(start), 0);
    close(start);
    m_folder.write("z", "");
    EXPECT_THAT(walk(), ElementsAre("z"));
    EXPECT_THAT(m_errors, ElementsAre(HasSubstr("File name too long")));
}

TEST_F(FolderWalkTest, FoldersThatCannotBeReadAreToldAndPassedOver) {
    FolderWalk missing(m_folder.file("missing"),
                       [this](const Status& status) { m_errors.push_back(status.message()); });
    std::string path;
    EXPECT_FALSE(missing.next(path));
    EXPECT_THAT(m_errors, ElementsAre(HasSubstr(m_folder.file("missing"))));
    if (geteuid() == 0) return;  // may read everything
    m_folder.write("closed/file", "");
    m_folder.write("open/file", "");
    chmod(m_folder.file("closed").c_str(), 0);
    EXPECT_THAT(walk(), ElementsAre("open/file"));
    EXPECT_THAT(m_errors, SizeIs(2));
    chmod(m_folder.file("closed").c_str(), 0700);
}

TEST_F(FolderWalkTest, WhatGoesDuringTheWalkIsPassedOver) {
    for (const char* name : {"a", "b", "c/d"}) m_folder.write(name, "");
    FolderWalk files(m_folder.path(), [](const Status& status) { FAIL() << status.message(); });
    std::string path;
    ASSERT_TRUE(files.next(path));
    std::filesystem::remove(m_folder.file("b"));
    std::filesystem::remove_all(m_folder.file("c"));
    EXPECT_FALSE(files.next(path));
}

}  // namespace
}  // namespace siftwell
