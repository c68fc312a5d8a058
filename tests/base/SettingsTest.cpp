#include "base/Settings.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "base/PropertyListFormat.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {
namespace {

class SettingsTest : public testing::Test {
protected:
    using Values = PropertyList::Dictionary;

    std::unique_ptr<Settings> open(Settings::Access access = Settings::Access::ReadWrite) {
        auto settings = Settings::open(m_folder.file(m_name), access, m_loop);
        EXPECT_TRUE(settings.isOk()) << settings.status().message();
        return std::move(settings).value();
    }

    Values stored() const {
        const auto parsed = parsePropertyList(m_folder.read(m_name));
        if (!parsed || parsed->asDictionary() == nullptr) return {{"damaged", true}};
        return *parsed->asDictionary();
    }

    int modeOf(const std::string& name) const {
        return static_cast<int>(std::filesystem::status(m_folder.file(name)).permissions());
    }

    const std::string m_name = "new/folder/x.plist";
    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
};

TEST_F(SettingsTest, DefaultsStandInForAbsentValuesAndAreNeverWritten) {
    const auto settings = open();
    settings->registerDefaults(
        {{"Days", 60}, {"On", "1"}, {"List", PropertyList::Array{"a", 1, "b"}}});
    EXPECT_EQ(settings->integer("Days"), 60);
    EXPECT_TRUE(settings->boolean("On"));
    EXPECT_EQ(settings->strings("List"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(settings->string("Days"), "");  // of another type
    EXPECT_TRUE(settings->value("Missing").isNull());
    EXPECT_TRUE(settings->userValue("Days").isNull());

    settings->set("Days", 30);
    m_loop.drain();
    EXPECT_EQ(stored(), (Values{{"Days", 30}}));
    EXPECT_EQ(open()->integer("Days"), 30);
    settings->remove("Days");
    EXPECT_EQ(settings->integer("Days"), 60);
}

TEST_F(SettingsTest, ManyChangesAreSavedOnceIntoAPrivateFile) {
    const auto settings = open();
    const auto change = [&] {
        for (int i = 0; i < 100; ++i) settings->set("Count", i);
    };
    std::jthread other(change);
    change();
    other.join();
    EXPECT_EQ(settings->integer("Count"), 99);  // at once
    EXPECT_FALSE(m_folder.has("new"));
    m_loop.turn({});
    EXPECT_EQ(stored(), (Values{{"Count", 99}}));
    EXPECT_EQ(modeOf("new"), 0700);
    EXPECT_EQ(modeOf(m_name), 0600);
    EXPECT_TRUE(std::filesystem::remove(m_folder.file(m_name)));
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.file("new/folder")));

    settings->set("Count", 99);  // no change
    m_loop.drain();
    EXPECT_FALSE(m_folder.has(m_name));
}

TEST_F(SettingsTest, DamagedFileIsRefusedAndLeftUntouched) {
    const std::string whole = serializePropertyList(Values{{"a", "b"}});
    for (const std::string& bytes : {std::string("rubbish"), std::string(), whole.substr(0, 40),
                                     serializePropertyList(PropertyList::Array{1})}) {
        const std::string file = m_folder.write(m_name, bytes);
        const auto settings = Settings::open(file, Settings::Access::ReadWrite, m_loop);
        EXPECT_EQ(settings.status().code(), StatusCode::Damaged);
        EXPECT_THAT(settings.status().message(), testing::HasSubstr(file));
        EXPECT_EQ(m_folder.read(m_name), bytes);
    }
}

TEST_F(SettingsTest, ReadOnlySettingsAndThoseThatAreGoneWriteNothing) {
    const auto settings = open(Settings::Access::ReadOnly);
    settings->set("a", 1);
    EXPECT_TRUE(settings->save().isOk());
    EXPECT_EQ(settings->integer("a"), 1);
    open()->set("a", 1);
    m_loop.drain();
    EXPECT_FALSE(m_folder.has("new"));
}

TEST_F(SettingsTest, FailingSaveIsToldOnceAndTriedAgain) {
    m_folder.write("new", "a file where a folder should be");
    const auto settings = open();
    int told = 0;
    settings->setSaveErrorHandler([&](const Status&) { ++told; });
    const auto change = [&](int value) {
        settings->set("a", value);
        m_loop.drain();
    };
    change(1);
    change(2);
    EXPECT_EQ(told, 1);

    std::filesystem::remove(m_folder.file("new"));
    change(3);
    EXPECT_EQ(stored(), (Values{{"a", 3}}));
}

TEST_F(SettingsTest, FileDamagedOrDeletedWhileTheProgramRunsIsWrittenAnew) {
    const auto settings = open();
    std::vector<std::string> told;
    settings->setSaveErrorHandler([&](const Status& status) { told.push_back(status.message()); });
    const auto change = [&](int value) {
        settings->set("a", value);
        m_loop.drain();
    };
    change(1);
    m_folder.write(m_name, "rubbish");
    change(2);
    EXPECT_EQ(stored(), (Values{{"a", 2}}));
    EXPECT_EQ(m_folder.read(m_name + ".damaged"), "rubbish");
    EXPECT_THAT(told, testing::ElementsAre(testing::HasSubstr("was damaged while")));
    std::filesystem::remove(m_folder.file(m_name));
    change(3);
    EXPECT_EQ(stored(), (Values{{"a", 3}}));
    EXPECT_EQ(told.size(), 1U);
}

// Sets two values alike and saves, for ever.
[[noreturn]] void saveForEver(Settings& settings) {
    settings.set("padding", std::string(20'000, 'x'));
    for (int i = 0; settings.save().isOk(); ++i) {
        settings.set("first", i);
        settings.set("second", i);
    }
    _exit(1);
}

TEST_F(SettingsTest, ProcessKilledAtAnyMomentLeavesAWholeFile) {
    std::mt19937 random(1);
    for (int round = 0; round < 12; ++round) {
        const pid_t child = fork();
        if (child == 0) saveForEver(*open());
        while (!m_folder.has(m_name)) {
        }
        // Reading while the child writes is as good a test as reading after its end.
        for (std::size_t reads = random() % 200; reads > 0; --reads) {
            const Values values = stored();
            ASSERT_EQ(integerFor(values, "first"), integerFor(values, "second"));
            ASSERT_FALSE(values.contains("damaged"));
        }
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_NE(open()->string("padding"), "");
    }
}

}  // namespace
}  // namespace siftwell
