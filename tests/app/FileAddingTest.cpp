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

    FileAdding::Target folder(const std::string& name) {
        return {m_home.file(name), name, "LocalFiles"};
    }

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

TEST_F(FileAddingTest, EveryFileIsAddedOnceHoweverManyThreadsAndTargets) {
    writePages("notes", 300);
    const auto first = add({folder("notes"), {m_home.file("notes"), "other", "LocalFiles"}});
    EXPECT_EQ(first.found, 600U);
    EXPECT_EQ(m_session->indexes().documentCount(), 300);
    EXPECT_GE(first.bytes, 300U * 18);
    EXPECT_EQ(add({folder("notes")}, 1).unchanged, 300U);
    EXPECT_EQ(m_session->indexes().documentCount(), 300);
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(FileAddingTest, WhatIsLeftOffIsDoneTheNextTime) {
    writePages("notes", 400);
    for (int round = 0; round < 3; ++round) {
        FileAdding adding(m_session->indexes(), m_session->notifier(), m_session->settings());
        adding.start({folder("notes")}, 3, [] {});
        if (round == 0) continue;  // goes without having been stopped
        adding.stop();
        EXPECT_TRUE(adding.progress().isDone);
        adding.stop();
    }
    m_session->indexes().setPendingDocumentCount(0);
    add({folder("notes")});
    EXPECT_EQ(m_session->indexes().documentCount(), 400);
}

TEST_F(FileAddingTest, NamedFilesThatCannotBeReadAreToldAndThoseInFoldersPassedOver) {
    for (const char* name : {"a.jpg", "b.unknown", "c"})
        m_home.write(std::string("x/") + name, "apple");
    ASSERT_EQ(mkfifo(m_home.file("x/pipe.html").c_str(), 0600), 0);
    EXPECT_EQ(add({folder("x"), folder("missing")}).found,
              2U);  // the file without a type, "missing"
    const std::string there = "file://" + m_home.path();
    EXPECT_THAT(m_told, ElementsAre("5 Failed to get content " + there + "/missing"));
    m_told.clear();
    EXPECT_EQ(add({folder("x/a.jpg"), folder("x/pipe.html"), folder("x/c")}, 1).done, 2U);
    EXPECT_THAT(m_told, testing::UnorderedElementsAre(
                            "6 Siftwell cannot parse files of type \"jpg\" " + there + "/x/a.jpg",
                            "5 Failed to get content " + there + "/x/pipe.html",
                            "3 No text on page " + there + "/x/c"));
    EXPECT_EQ(m_session->indexes().documentCount(), 0);
}

TEST_F(FileAddingTest, AddressFiltersHoldForFilesToo) {
    writePages("pages/ads", 3);
    writePages("pages/other", 2);
    const auto progress = add({folder("pages")});
    EXPECT_EQ(progress.filtered, 3U);
    EXPECT_EQ(progress.bytes, 2U * 18);
    EXPECT_EQ(m_session->indexes().documentCount(), 2);
    EXPECT_THAT(m_told, IsEmpty());
}

}  // namespace
}  // namespace siftwell
