#include "base/Paths.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace siftwell {
namespace {

class PathsTest : public testing::Test {
protected:
    PathsTest() {
        setenv("HOME", "/home/of me", 1);
        unsetenv("XDG_CONFIG_HOME");
    }
};

TEST_F(PathsTest, BaseFoldersStandBelowHomeUnlessTheEnvironmentNamesAbsoluteOnes) {
    setenv("XDG_DATA_HOME", "relative/data", 1);
    setenv("XDG_STATE_HOME", "/elsewhere", 1);
    const Paths paths = Paths::ofThisUser();
    EXPECT_EQ(paths.settingsFile, "/home/of me/.config/siftwell/com.velotrin.Siftwell.plist");
    EXPECT_EQ(paths.oldIndexFolder, "/home/of me/.config/Siftwell Index");
    EXPECT_EQ(paths.applicationData, "/home/of me/.local/share");
    EXPECT_EQ(paths.stateFolder, "/elsewhere/siftwell");
}

TEST_F(PathsTest, TildeStandsForAHomeFolder) {
    EXPECT_EQ(expandingTilde("~"), "/home/of me");
    EXPECT_EQ(expandingTilde("~/x/~"), "/home/of me/x/~");
    EXPECT_EQ(expandingTilde("~root/x"), "/root/x");
    EXPECT_EQ(expandingTilde("~no-such-user/x"), "~no-such-user/x");
    EXPECT_EQ(expandingTilde("/a/~/b"), "/a/~/b");
    setenv("HOME", "relative", 1);
    EXPECT_EQ(expandingTilde("~")[0], '/');  // from the user database
}

}  // namespace
}  // namespace siftwell
