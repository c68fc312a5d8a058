#include "index/IndexFolder.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class IndexFolderTest : public IndexFixture {
protected:
    std::optional<std::string> find(bool mayCreate = true) {
        return findIndexFolder(m_paths, mayCreate, m_notifier);
    }
    void expectFailure(const std::string& error, const std::string& details) {
        m_errors.clear();
        EXPECT_EQ(find(), std::nullopt);
        EXPECT_THAT(errors(), ElementsAre("9 " + error));
        EXPECT_EQ(m_details, details);
    }

    const std::string m_made = m_folder.file("data/Siftwell");
};

TEST_F(IndexFolderTest, IsMadeForTheUserAloneOrFollowedWhereALinkPoints) {
    EXPECT_EQ(find(false), std::nullopt);
    EXPECT_FALSE(m_folder.has("data"));
    const auto made = find();
    EXPECT_EQ(made, fs::canonical(m_made).string());
    EXPECT_EQ(fs::status(m_made).permissions(), fs::perms::owner_all);

    fs::remove(m_made);
    fs::create_directory(m_folder.file("elsewhere"));
    fs::create_symlink(m_folder.file("elsewhere"), m_folder.file("link"));
    fs::create_symlink(m_folder.file("link"), m_made);
    EXPECT_EQ(find(false), fs::canonical(m_folder.file("elsewhere")).string());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(IndexFolderTest, WhatStandsInTheWayIsSaid) {
    const std::string support = "in your Application Support folder";
    m_folder.write("data/Siftwell", "a file");
    expectFailure("Could not access the Siftwell folder " + support,
                  "There is a file with the name \"Siftwell\".  Please remove it so I can create a "
                  "folder there instead.");
    fs::remove(m_made);
    fs::create_symlink(m_folder.file("nothing"), m_made);
    expectFailure("Could not resolve the alias to the Siftwell folder " + support + " (2)",
                  "Please make sure that the \"Siftwell\" alias points to a valid folder");
    fs::remove_all(m_folder.file("data"));
    m_folder.write("data", "a file");
    expectFailure(
        "Could not find or create the Siftwell folder " + support + " (20)",
        "Please make sure you have permission to write to your Application Support folder.");
    m_paths.applicationData.clear();
    expectFailure("Could not find your Application Support folder!", "");
}

TEST_F(IndexFolderTest, OldFolderGivesUpItsFilesAndGoesOnceItIsEmpty) {
    m_folder.write("config/Siftwell Index/a.http", "old a");
    m_folder.write("config/Siftwell Index/b.http", "old b");
    m_folder.write("data/Siftwell/b.http", "new b");
    migrateOldIndexFolder(m_paths, *find(), m_notifier);
    EXPECT_EQ(m_folder.read("data/Siftwell/a.http"), "old a");
    EXPECT_EQ(m_folder.read("data/Siftwell/b.http"), "new b");
    EXPECT_EQ(m_folder.read("config/Siftwell Index/b.http"), "old b");

    fs::remove(m_folder.file("config/Siftwell Index/b.http"));
    migrateOldIndexFolder(m_paths, *find(), m_notifier);
    EXPECT_FALSE(m_folder.has("config/Siftwell Index"));
    EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace siftwell
