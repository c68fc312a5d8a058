#include "index/IndexFolder.h"

#include <sys/stat.h>

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class IndexFolderTest : public IndexFixture {
protected:
    Paths paths() const {
        Paths paths;
        paths.applicationData = m_folder.file("data");
        paths.oldIndexFolder = m_folder.file("old");
        return paths;
    }
    std::optional<std::string> find(bool mayCreate = true) {
        return findIndexFolder(paths(), mayCreate, m_notifier);
    }
    std::string details() {
        m_loop.drain();
        return m_errors.empty() ? "" : stringFor(m_errors.back(), "details");
    }
};

TEST_F(IndexFolderTest, IsMadeForTheUserAloneOrFollowedWhereALinkPoints) {
    EXPECT_EQ(find(false), std::nullopt);
    EXPECT_FALSE(m_folder.has("data"));
    const auto made = find();
    EXPECT_EQ(made, fs::canonical(m_folder.file("data/Siftwell")).string());
    struct stat info {};
    ASSERT_EQ(stat(m_folder.file("data/Siftwell").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);

    fs::remove(m_folder.file("data/Siftwell"));
    fs::create_directory(m_folder.file("elsewhere"));
    fs::create_symlink(m_folder.file("elsewhere"), m_folder.file("link"));
    fs::create_symlink(m_folder.file("link"), m_folder.file("data/Siftwell"));
    EXPECT_EQ(find(false), fs::canonical(m_folder.file("elsewhere")).string());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(IndexFolderTest, WhatStandsInTheWayIsSaid) {
    EXPECT_EQ(findIndexFolder(Paths(), true, m_notifier), std::nullopt);
    m_folder.write("data/Siftwell", "a file");
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_EQ(details(),
              "There is a file with the name \"Siftwell\".  Please remove it so I can create a "
              "folder there instead.");
    fs::remove(m_folder.file("data/Siftwell"));
    fs::create_symlink(m_folder.file("nothing"), m_folder.file("data/Siftwell"));
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_EQ(details(), "Please make sure that the \"Siftwell\" alias points to a valid folder");
    fs::remove_all(m_folder.file("data"));
    m_folder.write("data", "a file");
    EXPECT_EQ(find(), std::nullopt);
    EXPECT_EQ(details(),
              "Please make sure you have permission to write to your Application Support folder.");
    EXPECT_THAT(errors(),
                ElementsAre("9 Could not find your Application Support folder!",
                            "9 Could not access the Siftwell folder in your Application Support "
                            "folder",
                            "9 Could not resolve the alias to the Siftwell folder in your "
                            "Application Support folder (2)",
                            "9 Could not find or create the Siftwell folder in your Application "
                            "Support folder (20)"));
}

TEST_F(IndexFolderTest, OldFolderGivesUpItsFilesAndGoesOnceItIsEmpty) {
    m_folder.write("old/a.http", "old a");
    m_folder.write("old/b.http", "old b");
    m_folder.write("data/Siftwell/b.http", "new b");
    migrateOldIndexFolder(paths(), *find(), m_notifier);
    EXPECT_EQ(m_folder.read("data/Siftwell/a.http"), "old a");
    EXPECT_EQ(m_folder.read("data/Siftwell/b.http"), "new b");
    EXPECT_EQ(m_folder.read("old/b.http"), "old b");

    fs::remove(m_folder.file("old/b.http"));
    migrateOldIndexFolder(paths(), *find(), m_notifier);
    EXPECT_FALSE(m_folder.has("old"));
    EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace siftwell
