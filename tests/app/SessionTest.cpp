#include "app/Session.h"

#include "app/SessionFixture.h"

namespace siftwell {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class SessionTest : public SessionFixture {
protected:
    void expectFailure(Purpose purpose, StatusCode code, const std::string& message) {
        const auto session = open(purpose);
        ASSERT_FALSE(session);
        EXPECT_EQ(session.status().code(), code);
        EXPECT_THAT(session.status().message(), HasSubstr(message));
    }

    void add(Session& session, const std::string& address) {
        const Url url = Url::parse(address).value();
        session.indexes().addDataToIndex({"apple", "apple", url, "Pages", "Tester", {}, {}, {}});
    }
};

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

TEST_F(SessionTest, OneWritesWhileOthersRead) {
    auto writer = open(Purpose::Writing);
    ASSERT_TRUE(writer);
    expectFailure(Purpose::Writing, StatusCode::Busy,
                  "Another Siftwell (process " + std::to_string(getpid()) + ")");
    (*writer)->waitUntilIndexingIsEnabled();
    add(**writer, "http://host/a");
    EXPECT_EQ((*open(Purpose::Reading))->indexes().documentCount(), 0);
    EXPECT_TRUE((*writer)->close().isOk());
    writer = Status();
    const auto next = open(Purpose::Writing);
    ASSERT_TRUE(next);
    (*next)->waitUntilIndexingIsEnabled();
    EXPECT_EQ((*next)->indexes().documentCount(), 1);
    EXPECT_THAT(*(*open(Purpose::Reading))->indexes().indexes(), SizeIs(1));
    EXPECT_TRUE((*next)->close().isOk());
}

TEST_F(SessionTest, AUserWithoutAHomeIsTold) {
    const Paths good = m_paths;
    for (std::string Paths::*part :
         {&Paths::settingsFile, &Paths::applicationData, &Paths::stateFolder}) {
        m_paths = good;
        (m_paths.*part).clear();
        expectFailure(Purpose::Writing, StatusCode::NotFound, "environment variable HOME");
    }
}

}  // namespace
}  // namespace siftwell
