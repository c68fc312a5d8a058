#include "app/FileAdding.h"

#include <sys/stat.h>

#include "app/SessionFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FileAddingTest : public SessionFixture {
protected:
    FileAddingTest() {
        m_session = open(Purpose::Writing).value();
        m_errors = m_session->centre().observe(
            "SiftwellErrorNotification", [this](const PropertyList& record) {
                const auto& error = *record.asDictionary();
                m_told.push_back(std::to_string(*integerFor(error, "severity")) + " " +
                                 stringFor(error, "error") + " " + stringFor(error, "url"));
            });
        m_session->waitUntilIndexingIsEnabled();
    }
    ~FileAddingTest() override { EXPECT_TRUE(m_session->close().isOk()); }

    FileAdding::Target named(const std::string& name) {
        return {m_home.file(name), name, "LocalFiles"};
    }
    std::int64_t documents() { return m_session->indexes().documentCount(); }

    FileAdding::Progress add(std::vector<FileAdding::Target> targets, unsigned threads = 4) {
        FileAdding adding(m_session->indexes(), m_session->notifier(), m_session->settings());
        adding.start(std::move(targets), threads, [this] { m_loop->post([] {}); });
        EXPECT_TRUE(
            m_loop->turnUntil([&] { return adding.progress().isDone; }, std::chrono::minutes(1)));
        m_loop->turn(std::chrono::milliseconds(0));
        EXPECT_EQ(m_session->indexes().pendingDocumentCount(), 0);
        EXPECT_TRUE(adding.progress().isWalkDone);
        EXPECT_EQ(adding.progress().done, adding.progress().found);
        return adding.progress();
    }

    void writePages(const std::string& folder, int count) {
        for (int i = 0; i < count; ++i) {
            m_home.write(folder + "/" + std::to_string(i % 7) + "/" + std::to_string(i) + ".html",
                         "<html>apple</html>");
        }
    }

    std::unique_ptr<Session> m_session;
    NotificationCentre::Observation m_errors;
    std::vector<std::string> m_told;
};

TEST_F(FileAddingTest, EveryFileIsAddedOnceHoweverManyTargetsUnlessItIsFiltered) {
    writePages("notes", 300);
    writePages("notes/ads", 3);
    const auto first = add({named("notes"), {m_home.file("notes"), "other", "LocalFiles"}});
    EXPECT_EQ(first.found, 606U);
    EXPECT_EQ(first.filtered, 6U);
    EXPECT_EQ(add({named("notes/ads")}).bytes, 0U);
    EXPECT_EQ(documents(), 300);
    EXPECT_GE(first.bytes, 300U * 18);
    EXPECT_EQ(add({named("notes")}, 1).unchanged, 300U);
    EXPECT_EQ(documents(), 300);
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(FileAddingTest, WhatIsLeftOffIsDoneTheNextTime) {
    writePages("notes", 400);
    for (int round = 0; round < 3; ++round) {
        FileAdding adding(m_session->indexes(), m_session->notifier(), m_session->settings());
        adding.start({named("notes")}, 3, [] {});
        if (round == 0) continue;  // goes without having been stopped
        adding.stop();
        adding.stop();
        EXPECT_TRUE(adding.progress().isDone);
    }
    m_session->indexes().setPendingDocumentCount(0);
    add({named("notes")});
    EXPECT_EQ(documents(), 400);
}

TEST_F(FileAddingTest, NamedFilesThatCannotBeReadAreToldAndThoseInFoldersPassedOver) {
    for (const char* name : {"x/a.jpg", "x/b.unknown", "x/c"}) m_home.write(name, "apple");
    ASSERT_EQ(mkfifo(m_home.file("x/pipe.html").c_str(), 0600), 0);
    EXPECT_EQ(add({named("x"), named("missing")}).found,
              2U);  // "missing", and "x/c" without a type
    const std::string there = "file://" + m_home.path();
    EXPECT_THAT(m_told, ElementsAre("5 Failed to get content " + there + "/missing"));
    m_told.clear();
    EXPECT_EQ(add({named("x/a.jpg"), named("x/pipe.html"), named("x/c")}, 1).done, 2U);
    EXPECT_THAT(m_told, testing::UnorderedElementsAre(
                            "6 Siftwell cannot parse files of type \"jpg\" " + there + "/x/a.jpg",
                            "5 Failed to get content " + there + "/x/pipe.html",
                            "3 No text on page " + there + "/x/c"));
    EXPECT_EQ(documents(), 0);
}

}  // namespace
}  // namespace siftwell
