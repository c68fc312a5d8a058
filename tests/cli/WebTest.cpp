// Pages of the web, added by the real program from a real server.

#include "cli/ProgramFixture.h"
#include "support/HttpSite.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

class WebTest : public ProgramFixture {
protected:
    WebTest() {
        m_variables["SIFTWELL_ONLINE"] = "yes";
        m_site.page("/tea.html", {.body = html("<title>Tea</title>", "a calm leaf")});
    }

    static std::string html(const std::string& head, const std::string& body) {
        return "<html><head>" + head + "</head><body>" + body + "</body></html>";
    }
    // The paths of what the words find.
    std::vector<std::string> pathsFor(const std::string& words) {
        std::vector<std::string> paths;
        for (const auto& row : found({"--limit", "0", words})) {
            paths.push_back(row["url"].get<std::string>().substr(m_site.address("").size()));
        }
        return paths;
    }

    HttpSite m_site;
};

TEST_F(WebTest, APageIsAddedWithItsFramesAndWhatItLeadsTo) {
    m_site.page("/frames", {.body = html("",
                                         "<frameset><frame src=\"tea.html\">"
                                         "<frame src=\"moved\"></frameset>")});
    m_site.page("/moved", {.status = 301, .headers = {{"Location", "/goal"}}});
    m_site.page("/goal", {.body = html("", "a golden cup")});
    const Outcome outcome = siftwell({"add", m_site.address("/frames")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("3 pages added"));
    EXPECT_THAT(pathsFor("calm"), ElementsAre("/tea.html"));
    EXPECT_THAT(pathsFor("golden"), ElementsAre("/moved"));
    const auto rows = found({"calm"});
    EXPECT_EQ(rows[0]["source"], "127.0.0.1");
    EXPECT_EQ(rows[0]["indexer"], "SingleURL");
    EXPECT_EQ(siftwell({"remove", m_site.address("/tea.html")}).status, 0);
    EXPECT_THAT(pathsFor("calm"), IsEmpty());
}

TEST_F(WebTest, WhatCannotBeAddedIsNamedAndTheRestIsAdded) {
    m_site.page("/forbidden", {.status = 403, .body = "no"});
    m_site.page("/image", {.type = "image/png", .body = "x"});
    m_site.page("/plain", {.type = "text/plain", .body = "words without a known kind"});
    const Outcome outcome =
        siftwell({"add", m_site.address("/forbidden"), m_site.address("/image"),
                  m_site.address("/ads/x"), m_site.address("/x.zip"), m_site.address("/x.pdf"),
                  m_site.address("/plain"), m_site.address("/tea.html")});
    EXPECT_EQ(outcome.status, 3);
    for (const char* part : {"/forbidden — access is forbidden", "MIME type of image/png",
                             "/ads/x was left out by your address filters", "/x.zip was left out",
                             "/x.pdf was left out", "1 page added"}) {
        EXPECT_THAT(outcome.err, HasSubstr(part));
    }
    const Outcome dropped = siftwell({"add", m_site.address("/plain")});
    EXPECT_EQ(dropped.status, 3);
    EXPECT_THAT(dropped.err, HasSubstr("0 pages added"));
}

TEST_F(WebTest, AddressesAreTakenAsPeopleTypeThem) {
    m_site.page("/f\xC3\xBCr dich", {.body = html("", "umlaut")});
    EXPECT_EQ(siftwell({"add", m_site.address("/f\xC3\xBCr dich")}).status, 0);
    EXPECT_THAT(pathsFor("umlaut"), ElementsAre("/f%C3%BCr%20dich"));
    for (const char* wrong : {"gopher://host/", "http:///path", "mailto:someone@host"}) {
        const Outcome outcome = siftwell({"add", wrong, m_site.address("/tea.html")});
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_THAT(outcome.err, Not(IsEmpty()));
    }
    EXPECT_EQ(m_site.requests("/tea.html"), 0) << "nothing is done before all is understood";
}

TEST_F(WebTest, ManyPagesComeFromFewConnectionsAtOnce) {
    m_site.otherPages([](const std::string& path) {
        return HttpSite::Page{.body = html("", "common words of " + path),
                              .delay = std::chrono::milliseconds(5)};
    });
    Arguments arguments = {"add"};
    for (int i = 0; i < 300; ++i) arguments.push_back(m_site.address("/p" + std::to_string(i)));
    EXPECT_EQ(siftwell(arguments).status, 0);
    EXPECT_EQ(found({"--limit", "0", "common"}).size(), 300U);
    EXPECT_LE(m_site.mostAtOnce(), 5);
    EXPECT_GT(m_site.mostAtOnce(), 1);
}

TEST_F(WebTest, AnAddThatIsAskedToEndKeepsWhatItHas) {
    std::atomic<bool> isAskedFor = false;
    RawSite silent([&](int, const std::string&) {
        isAskedFor = true;
        silent.waitForEnd();
    });
    // The frame is asked for when the page around it is in.
    m_site.page("/around",
                {.body = html("", "a calm frame <frame src=" + silent.address("/") + ">")});
    const pid_t add = startSiftwell({"add", m_site.address("/around")});
    while (!isAskedFor && !hasEnded(add)) std::this_thread::yield();
    kill(add, SIGINT);
    EXPECT_EQ(wait(add), 3);
    EXPECT_THAT(pathsFor("calm"), ElementsAre("/around"));
    EXPECT_THAT(m_home.read("err.started"), HasSubstr("Left off."));
}

TEST_F(WebTest, WithoutANetworkPagesWaitForTheNextScanAndFilesDoNot) {
    m_variables["SIFTWELL_ONLINE"] = "no";
    const Outcome outcome = siftwell({"add", m_site.address("/tea.html")});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Siftwell cannot access the Internet"));
    EXPECT_THAT(outcome.err, HasSubstr("siftwell scan --offline"));
    expectFailure({"scan"}, 3, "siftwell scan --offline");
    page("notes/a.html", "Alpha", "apple");
    EXPECT_EQ(siftwell({"add", m_home.file("notes")}).status, 0);
    EXPECT_EQ(siftwell({"scan", "--offline"}).status, 0);
    EXPECT_THAT(titles({"apple"}), ElementsAre("Alpha"));
    EXPECT_EQ(m_site.requests("/tea.html"), 0);
    m_variables["SIFTWELL_ONLINE"] = "yes";
    EXPECT_EQ(siftwell({"scan"}).status, 0);
    EXPECT_THAT(pathsFor("calm"), ElementsAre("/tea.html"));
}

}  // namespace
}  // namespace siftwell
