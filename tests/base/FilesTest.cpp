#include "base/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

struct FilesTest : testing::Test {
    TemporaryFolder m_folder;
};

TEST_F(FilesTest, AtomicWriteReplacesTheFileAndLeavesNothingBeside) {
    const std::string path = m_folder.write("f", "old");
    const std::string bytes("new\0bytes", 9);
    EXPECT_TRUE(writeFileAtomically(path, bytes).isOk());
    EXPECT_EQ(m_folder.read("f"), bytes);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_FALSE(writeFileAtomically(path, "x").isOk());
    std::filesystem::remove(path);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST_F(FilesTest, ReadingStopsAtTheLimitAndRefusesWhatIsNoPlainFile) {
    const std::string path = m_folder.write("f", std::string(10'000, 'x'));
    EXPECT_EQ(readFile(path, 20'000)->size(), 10'000U);
    EXPECT_EQ(readFile(path, 9'999)->size(), 9'999U);
    EXPECT_EQ(*readFile(path, 0), "");
    EXPECT_EQ(readFile("/proc/self/status", 1 << 20)->substr(0, 5), "Name:");  // announces 0 bytes
    EXPECT_EQ(readFile(m_folder.path(), 1).status().code(), StatusCode::Invalid);
    mkfifo(m_folder.file("pipe").c_str(), 0600);
    EXPECT_EQ(readFile(m_folder.file("pipe"), 1).status().code(), StatusCode::Invalid);
}

TEST_F(FilesTest, FoldersAreMadeUnlessSomethingStandsThere) {
    EXPECT_TRUE(makePrivateFolder(m_folder.file("a/b/")).isOk());
    EXPECT_TRUE(makePrivateFolder(m_folder.file("a")).isOk());
    EXPECT_TRUE(probeFolderForWriting(m_folder.file("a/b")).isOk());
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.file("a/b")));
    std::filesystem::create_symlink("nowhere", m_folder.file("link"));
    EXPECT_EQ(makePrivateFolder(m_folder.file("link")).code(), StatusCode::Exists);
}

TEST_F(FilesTest, PathsAreTakenApart) {
    EXPECT_EQ(folderOf("/a//b//"), "/a");
    EXPECT_EQ(folderOf("/a"), "/");
    EXPECT_EQ(folderOf("b"), ".");
    EXPECT_EQ(lastPathComponent("/a/b/"), "b");
    EXPECT_EQ(lastPathComponent("//"), "/");
    EXPECT_EQ(pathExtension("a.b/c.Tar.gz"), "gz");
    EXPECT_EQ(pathExtension("a.b/c"), "");
    EXPECT_EQ(pathExtension("/x/.profile"), "");
}

}  // namespace
}  // namespace siftwell
