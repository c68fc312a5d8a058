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
        session.indexes().addDataToIndex({.content = "apple",
                                          .readable = "apple",
                                          .url = Url::parse(address).value(),
                                          .source = "Pages",
                                          .indexer = "Tester",
                                          .date = std::nullopt,
                                          .title = std::nullopt,
                                          .cachePath = std::nullopt});
    }
};

TEST_F(SessionTest, ReadingMakesNothingAndSeesTheDefaults) {
    const auto session = open(Purpose::Reading);
    ASSERT_TRUE(session);
    EXPECT_THAT((*session)->settings().array("SearchItems"), SizeIs(20));
    EXPECT_TRUE((*session)->indexes().indexes()->empty());
    EXPECT_TRUE((*session)->close().isOk());
    EXPECT_TRUE(std::filesystem::is_empty(m_home.path()));
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

TEST_F(SessionTest, TheSettingsAreBroughtUpToDateByWhoWrites) {
    {
        const auto session = open(Purpose::Writing);
        ASSERT_TRUE(session);
        (*session)->settings().set("IndexProtectedPages", 1);
        EXPECT_TRUE((*session)->close().isOk());
    }
    const auto stored = Settings::open(m_paths.settingsFile, Settings::Access::ReadOnly, *m_loop);
    EXPECT_THAT((*stored)->array("SearchItems"), SizeIs(20));
    EXPECT_EQ((*open(Purpose::Reading))->settings().integer("IndexProtectedPages"), 0);
}

TEST_F(SessionTest, WhatIsInTheWayIsToldBeforeAnythingIsWritten) {
    m_home.write("config/siftwell/x.plist", "no property list");
    expectFailure(Purpose::Reading, StatusCode::Damaged, m_paths.settingsFile);
    expectFailure(Purpose::Writing, StatusCode::Damaged, m_paths.settingsFile);
    EXPECT_EQ(m_home.read("config/siftwell/x.plist"), "no property list");

    const Paths good = m_paths;
    m_paths.applicationData = "/proc";  // where nobody can make a folder
    expectFailure(Purpose::Writing, StatusCode::NotFound, "/proc/Siftwell");
    m_paths = good;
    m_paths.stateFolder = "/proc/siftwell";
    expectFailure(Purpose::Writing, StatusCode::NotFound, "/proc/siftwell");
    for (std::string Paths::*part :
         {&Paths::settingsFile, &Paths::applicationData, &Paths::stateFolder}) {
        m_paths = good;
        (m_paths.*part).clear();
        expectFailure(Purpose::Writing, StatusCode::NotFound, "environment variable HOME");
    }
}

}  // namespace
}  // namespace siftwell
