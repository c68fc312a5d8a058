#include "retrieval/ProgramExtractor.h"

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "retrieval/SampleDocuments.h"
#include "support/LoggedLines.h"
#include "support/TemporaryFolder.h"
#include "support/TestRunLoop.h"

namespace siftwell {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSubsetOf;
using testing::IsSupersetOf;
using testing::Not;
using testing::Optional;

// Takes down what it is asked to run, and answers what a test wants.
class TestProcesses : public Processes {
public:
    Result<Outcome> run(const Command& command, const std::stop_token&) override {
        commands.push_back(command);
        return answer;
    }

    std::vector<Command> commands;
    Result<Outcome> answer = Outcome{.output = "some text"};
};

class ProgramExtractorTest : public testing::Test {
protected:
    ~ProgramExtractorTest() override { setenv("PATH", m_path.c_str(), 1); }

    // Only the programs of that folder are installed.
    void installOnly(const std::string& folder) { setenv("PATH", folder.c_str(), 1); }

    std::optional<std::string> textOf(const std::string& name) {
        return m_extractor.textOf(Url::fromFilePath(m_folder.file(name)));
    }
    std::optional<std::string> textOf(const std::string& name, const std::string& bytes) {
        m_folder.write(name, bytes);
        return textOf(name);
    }

    std::optional<std::string> pretend(Result<Processes::Outcome> answer) {
        m_pretended.answer = std::move(answer);
        m_folder.write("pretended.pdf", "");
        return m_pretender.textOf(Url::fromFilePath(m_folder.file("pretended.pdf")));
    }

    std::vector<std::string> reports() {
        m_loop.drain();
        return std::exchange(m_reports, {});
    }

    const std::string m_path = std::getenv("PATH");
    TemporaryFolder m_folder;
    TestClock m_clock;
    TestRunLoop m_loop{m_clock};
    NotificationCentre m_centre{m_loop};
    SWNotifier m_notifier{m_centre, m_clock};
    std::vector<std::string> m_reports;
    LoggedLines m_log;
    const NotificationCentre::Observation m_observation =
        m_centre.observe("SiftwellErrorNotification", [this](const PropertyList& record) {
            const auto& error = *record.asDictionary();
            m_reports.push_back(std::to_string(integerFor(error, "severity").value_or(0)) + " " +
                                stringFor(error, "error") + stringFor(error, "details"));
        });
    SystemProcesses m_processes;
    ProgramExtractor m_extractor{m_processes, m_notifier};
    TestProcesses m_pretended;
    ProgramExtractor m_pretender{m_pretended, m_notifier};
};

TEST_F(ProgramExtractorTest, TheWordsOfADocumentComeOut) {
    EXPECT_THAT(textOf("a.pdf", pdfShowing("Rhubarb crumble")),
                Optional(HasSubstr("Rhubarb crumble")));
    EXPECT_THAT(textOf("-o b' $(x)\n\xFF.PDF", pdfShowing("odd name")),
                Optional(HasSubstr("odd name")));
    EXPECT_THAT(textOf("b.doc", docShowing("Apple pie\r")), Optional(HasSubstr("Apple pie")));
    const auto rtf = textOf(
        "c.rtf",
        "{\\rtf1\\ansi\\ansicpg1252{\\info{\\title Recipes}}Caf\\'e9 \\u1078?\\u1091?\\u1082? "
        "a < b\\par\n### no comment\\par{\\pict\\pngblip\\picw9\\pich9 89504e47}\\par end\\par}");
    EXPECT_THAT(rtf, Optional(AllOf(HasSubstr("Recipes"), HasSubstr("Caf\u00E9"),
                                    HasSubstr("\u0436\u0443\u043A"), HasSubstr("a < b"),
                                    HasSubstr("### no comment"), HasSubstr("end"))));
    EXPECT_THAT(rtf, Optional(AllOf(Not(HasSubstr("unrtf")), Not(HasSubstr("picture")),
                                    Not(HasSubstr("UnRTF")))));
    EXPECT_THAT(reports(), IsEmpty());
    EXPECT_EQ(m_log.takeText(), "");
}

TEST_F(ProgramExtractorTest, BrokenFilesHaveNoTextAndAreLogged) {
    EXPECT_EQ(textOf("a.pdf", "%PDF-1.4 and no more"), std::nullopt);
    EXPECT_EQ(textOf("a.doc", "no document"), std::nullopt);
    EXPECT_EQ(textOf("a.rtf", ""), std::nullopt);
    EXPECT_EQ(textOf("empty.pdf", pdfShowing("")), std::nullopt);
    EXPECT_THAT(m_log.takeText(), AllOf(HasSubstr("/a.pdf"), HasSubstr("/a.doc"),
                                        HasSubstr("/a.rtf"), HasSubstr("/empty.pdf")));
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ProgramExtractorTest, OnlyFilesOfKnownKindsAreRead) {
    mkfifo(m_folder.file("pipe.pdf").c_str(), 0600);  // would be waited for
    mkdir(m_folder.file("folder.rtfd").c_str(), 0700);
    for (const char* name : {"pipe.pdf", "folder.rtfd", "missing.doc", "page.html", "pdf"}) {
        EXPECT_EQ(m_pretender.textOf(Url::fromFilePath(m_folder.file(name))), std::nullopt) << name;
    }
    for (const char* address : {"http://example.com/a.pdf", "file:///tmp/a%00.pdf"}) {
        EXPECT_EQ(m_pretender.textOf(*Url::parse(address)), std::nullopt) << address;
    }
    EXPECT_THAT(m_pretended.commands, IsEmpty());
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ProgramExtractorTest, AMissingProgramIsReportedOnceWithItsPackage) {
    installOnly(m_folder.path());
    EXPECT_EQ(textOf("a.pdf", pdfShowing("words")), std::nullopt);
    EXPECT_EQ(textOf("b.pdf", pdfShowing("words")), std::nullopt);
    EXPECT_EQ(textOf("a.doc", "words"), std::nullopt);
    EXPECT_THAT(reports(), ElementsAre(AllOf(HasSubstr("6 "), HasSubstr("pdftotext"),
                                             HasSubstr("poppler-utils")),
                                       HasSubstr("antiword")));
}

TEST_F(ProgramExtractorTest, NothingRunsUnconfined) {
    const std::string launcher = m_folder.file("no-such-launcher");
    ProgramExtractor extractor(m_processes, m_notifier, launcher);
    m_folder.write("a.pdf", pdfShowing("words"));
    const Url file = Url::fromFilePath(m_folder.file("a.pdf"));
    EXPECT_EQ(extractor.textOf(file), std::nullopt);
    EXPECT_EQ(extractor.textOf(file), std::nullopt);
    EXPECT_THAT(reports(), ElementsAre(AllOf(HasSubstr("confined"), HasSubstr(launcher))));

    EXPECT_EQ(pretend(Processes::Outcome{.status = 125, .output = "text", .errors = "why"}),
              std::nullopt);
    EXPECT_THAT(reports(), ElementsAre(AllOf(HasSubstr("confined"), HasSubstr("why"))));
    for (const Processes::Command& command : m_pretended.commands) {
        EXPECT_EQ(command.arguments.front(), ProgramExtractor::installedLauncher());
    }
}

TEST_F(ProgramExtractorTest, TextIsMendedAndCutAndThatOfAFailureIsDropped) {
    using End = Processes::End;
    EXPECT_EQ(pretend(Processes::Outcome{.output = "a\xFFz"}), "a\uFFFDz");
    EXPECT_EQ(pretend(Processes::Outcome{.end = End::TooLong, .output = "a \xC3"}), "a \uFFFD");
    EXPECT_THAT(m_log.takeText(), HasSubstr("left out"));
    EXPECT_EQ(pretend(Processes::Outcome{.output = " \n\f"}), std::nullopt);
    for (const End end : {End::Signalled, End::TooSlow, End::Stopped, End::Forgotten}) {
        EXPECT_EQ(pretend(Processes::Outcome{.end = end, .output = "half"}), std::nullopt);
    }
    EXPECT_EQ(pretend(Processes::Outcome{.status = 1, .output = "half"}), std::nullopt);
    EXPECT_THAT(reports(), IsEmpty());
    const Processes::Command& command = m_pretended.commands.front();
    EXPECT_EQ(command.timeLimit, std::chrono::seconds(30));
    EXPECT_LE(command.maxOutputBytes, std::size_t{64} << 20);
}

TEST_F(ProgramExtractorTest, AHangingProgramEndsWhenStopped) {
    const std::string program = m_folder.write("pdftotext", "#!/bin/sh\nwhile :; do :; done\n");
    chmod(program.c_str(), 0700);
    installOnly(m_folder.path());
    m_folder.write("a.pdf", "");
    std::jthread stopper([this] {
        std::this_thread::yield();
        m_extractor.stop();
    });
    EXPECT_EQ(textOf("a.pdf"), std::nullopt);
    EXPECT_EQ(textOf("a.pdf"), std::nullopt);
    EXPECT_THAT(m_log.takeText(), HasSubstr("stopped"));
}

}  // namespace
}  // namespace siftwell
