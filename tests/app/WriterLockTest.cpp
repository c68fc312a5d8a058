#include "app/WriterLock.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

using testing::HasSubstr;

class WriterLockTest : public testing::Test {
protected:
    TemporaryFolder m_home;
    const std::string m_folder = m_home.file("state/siftwell");
};

TEST_F(WriterLockTest, TheSecondIsRefusedUntilTheFirstHasGoneOrDied) {
    EXPECT_EQ(WriterLock::holder(m_folder), 0);
    {
        const auto first = WriterLock::take(m_folder);
        ASSERT_TRUE(first);
        EXPECT_EQ(WriterLock::holder(m_folder), getpid());
        const auto second = WriterLock::take(m_folder);
        EXPECT_EQ(second.status().code(), StatusCode::Busy);
        EXPECT_THAT(second.status().message(),
                    HasSubstr("(process " + std::to_string(getpid()) + ")"));
        EXPECT_EQ(WriterLock::holder(m_folder), getpid());  // the attempt left it as it was
    }
    EXPECT_EQ(WriterLock::holder(m_folder), 0);

    const pid_t process = fork();
    if (process == 0) _exit(WriterLock::take(m_folder) ? 0 : 1);  // without unlocking
    int status = -1;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(m_home.read("state/siftwell/lock"), std::to_string(process) + "\n");
    EXPECT_EQ(WriterLock::holder(m_folder), 0);
    EXPECT_TRUE(WriterLock::take(m_folder));
}

TEST_F(WriterLockTest, TheLockIsPrivateAndNotALink) {
    ASSERT_TRUE(WriterLock::take(m_folder));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(m_folder).permissions(), perms::owner_all);
    EXPECT_EQ(std::filesystem::status(m_folder + "/lock").permissions(),
              perms::owner_read | perms::owner_write);

    std::filesystem::remove(m_folder + "/lock");
    m_home.write("precious", "mine");
    std::filesystem::create_symlink(m_home.file("precious"), m_folder + "/lock");
    const auto lock = WriterLock::take(m_folder);
    ASSERT_FALSE(lock);
    EXPECT_NE(lock.status().code(), StatusCode::Busy);
    EXPECT_THAT(lock.status().message(), HasSubstr(m_folder + "/lock"));
    EXPECT_EQ(m_home.read("precious"), "mine");
}

}  // namespace
}  // namespace siftwell
