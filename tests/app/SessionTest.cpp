#include "app/Session.h"

#include "app/SessionFixture.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

using SessionTest = SessionFixture;

TEST_F(SessionTest, ReadingMakesNothingAndSeesTheDefaultsThatWritingStores) {
    const auto session = open(Purpose::Reading);
    ASSERT_TRUE(session);
    EXPECT_THAT((*session)->settings().array("SearchItems"), SizeIs(20));
    EXPECT_TRUE((*session)->indexes().indexes()->empty());
    EXPECT_TRUE((*session)->close().isOk());
    EXPECT_TRUE(std::filesystem::is_empty(m_home.path()));

    const auto writer = open(Purpose::Writing);
    ASSERT_TRUE(writer);
    (*writer)->settings().set("IndexProtectedPages", 1);
    EXPECT_TRUE((*writer)->close().isOk());
    const auto stored = Settings::open(m_paths.settingsFile, Settings::Access::ReadOnly, *m_loop);
    EXPECT_THAT((*stored)->array("SearchItems"), SizeIs(20));
    EXPECT_EQ((*open(Purpose::Reading))->settings().integer("IndexProtectedPages"), 0);
}

TEST_F(SessionTest, AUserWithoutAHomeIsTold) {
    const Paths good = m_paths;
    for (std::string Paths::*part :
         {&Paths::settingsFile, &Paths::applicationData, &Paths::stateFolder}) {
        m_paths = good;
        (m_paths.*part).clear();
        const Status status = open(Purpose::Writing).status();
        EXPECT_EQ(status.code(), StatusCode::NotFound);
        EXPECT_THAT(status.message(), HasSubstr("environment variable HOME"));
    }
}

}  // namespace
}  // namespace siftwell
