#include "retrieval/DocumentRetriever.h"

#include <latch>

#include "RetrieverFixture.h"
#include "fulltext/Oracle.h"
#include "support/LongForm.h"

namespace siftwell {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using std::chrono::seconds;

class DocumentRetrieverTest : public RetrieverFixture {
protected:
    // Every document that was announced comes to an end.
    void TearDown() override {
        if (m_retriever != nullptr) EXPECT_EQ(store().pendingDocumentCount(), 0);
    }

    void prefer(const std::string& key, PropertyList value) {
        m_settings->set(key, std::move(value));
        m_centre.post("SiftwellPreferenceChangeNotification", {});
    }
    // The answer waits until it is released.
    void queueHeld(const std::string& address, const std::string& source = "Pages") {
        m_site.page(address, {.isHeld = true});
        queue(address, std::nullopt, source);
    }
    void waitUntilHeld(std::size_t count) {
        waitUntil([&] { return m_site.held() == count; });
    }
    void releaseNext() {
        waitUntil([this] { return m_site.release(); });
    }

    static std::string refresh(const std::string& target, const std::string& words = "") {
        return html("<meta http-equiv=refresh content=\"0; url=" + target + "\">", words);
    }
};

TEST_F(DocumentRetrieverTest, APageIsFoundByItsWordsTitlePathAndHost) {
    m_site.text("http://shop.example/tea/green.html", html("<title>Sencha</title>", "a calm leaf"));
    queue("http://shop.example/tea/green.html", Date::fromReference(5), "Pages", "Known");
    finish();
    for (const char* word : {"calm", "sencha", "known", "green", "shop"}) {
        EXPECT_THAT(find(word), ElementsAre("http://shop.example/tea/green.html")) << word;
    }
    EXPECT_EQ(recordOf("http://shop.example/tea/green.html")->title, "Known Sencha");
    EXPECT_EQ(recordOf("http://shop.example/tea/green.html")->date, Date::fromReference(5));
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(DocumentRetrieverTest, PageThatAnswered403OnceIsNeverAskedForAgain) {
    for (const int status : {401, 403, 407, 410}) {
        const std::string page = "http://h/" + std::to_string(status);
        m_site.page(page, {.status = status, .isChallenge = status == 401});
        index(page);
        EXPECT_THAT(takeReports(), ElementsAre(HasSubstr("Failed to get content (")));
        index(page);
        EXPECT_EQ(m_site.requests(page), 1);
        EXPECT_THAT(takeReports(), IsEmpty()) << "it is dropped silently";
    }
    m_site.page("http://h/404", {.status = 404});
    index("http://h/404");
    EXPECT_THAT(find("words"), ElementsAre("http://h/404"));
}

TEST_F(DocumentRetrieverTest, FailuresAreToldWithTheirCauseAndNotTriedAgain) {
    m_site.page("http://h/large", {.status = 500, .announced = 3 << 20});
    m_site.page("http://h/lost", {.error = loadError::kConnectionLost});
    m_site.page("http://h/empty", {.body = ""});
    m_site.page("http://h/image", {.type = "image/png"});
    for (const char* page : {"large", "lost", "empty", "image"}) {
        index(std::string("http://h/") + page);
        index(std::string("http://h/") + page);
    }
    EXPECT_THAT(
        takeReports(),
        ElementsAre("http://h/large: Failed to get content (internal server error)",
                    "http://h/lost: Failed to get content (Could not get data (error code "
                    "-1005).)",
                    "http://h/empty: Failed to get content (Could not get data (no further error "
                    "information available).)",
                    "http://h/image: Failed to get content (Can't index document with MIME type "
                    "of image/png.)"));
    EXPECT_EQ(m_progressDone - 1, 4) << "and the loader's";
}

TEST_F(DocumentRetrieverTest, WhatIsKnownOrRefusedIsNotAskedFor) {
    m_site.page("http://h/a", {});
    index("http://h/a", Date::fromReference(10));
    index("http://h/a", Date::fromReference(10));
    index("http://h/a");
    index("http://h/picture.jpg");
    EXPECT_EQ(m_site.requests("http://h/a"), 1);
    EXPECT_EQ(m_site.requests("http://h/picture.jpg"), 0);
    index("http://h/a", Date::fromReference(20));
    EXPECT_EQ(m_site.requests("http://h/a"), 2);
}

TEST_F(DocumentRetrieverTest, ImpossibleDatesCountAsNow) {
    m_site.page("http://h/old", {});
    m_site.page("http://h/new", {});
    index("http://h/old", Date::fromUnix(-10.0 * 365 * 86400));
    index("http://h/new", m_clock.now() + 1000);
    EXPECT_EQ(recordOf("http://h/old")->date, m_clock.now());
    EXPECT_EQ(recordOf("http://h/new")->date, m_clock.now());
}

TEST_F(DocumentRetrieverTest, AsManyDownloadsRunAtOnceAsThePreferencesSay) {
    m_settings->set("MaxDownloadThreads", 2);
    for (int i = 0; i < 12; ++i) queueHeld("http://h/" + std::to_string(i));
    waitUntilHeld(2);
    EXPECT_TRUE(retriever().downloadWaitingForSource("Pages"));
    EXPECT_TRUE(retriever().downloadInProgressForSource("Pages"));
    EXPECT_FALSE(retriever().downloadInProgressForSource("Others"));
    for (int i = 0; i < 3; ++i) {
        m_site.release();
        waitUntilHeld(2);
    }
    prefer("MaxDownloadThreads", 4);
    waitUntilHeld(4);
    prefer("MaxDownloadThreads", -7);  // never none
    for (int left = 9; left > 0; --left) releaseNext();
    finish();
    EXPECT_EQ(find("words").size(), 12U);
}

TEST_F(DocumentRetrieverTest, RedirectsInPagesAreFollowedForSixHops) {
    m_site.text("http://h/itself", refresh("http://h/itself", "moved"));
    m_site.text("http://h/dir/itself", refresh("itself", "moved"));
    m_site.text("http://h/dir/relative", refresh("../goal?x=1"));
    m_site.text("http://h/goal?x=1", html("", "reached"));
    m_site.text("http://h/script", html("<script>location.href = 'goal2';</script>", "old"));
    m_site.text("http://h/goal2", html("", "scripted"));
    for (int i = 0; i < 9; ++i) {
        m_site.text("http://h/" + std::to_string(i), refresh("/" + std::to_string(i + 1), "moved"));
    }
    for (const char* page : {"itself", "dir/itself", "dir/relative", "script", "0"}) {
        index(std::string("http://h/") + page);
    }
    EXPECT_THAT(find("moved"),
                UnorderedElementsAre("http://h/itself", "http://h/dir/itself", "http://h/6"));
    EXPECT_THAT(find("reached"), ElementsAre("http://h/goal?x=1"));
    EXPECT_THAT(find("scripted"), ElementsAre("http://h/goal2"));
    EXPECT_EQ(m_site.requests("http://h/itself"), 1);
    EXPECT_EQ(m_site.requests("http://h/dir/itself"), 1);

    prefer("JavaScriptEnabled", false);
    m_site.text("http://h/script2", html("<script>location.href = 'goal3';</script>", "stayed"));
    index("http://h/script2");
    EXPECT_THAT(find("stayed"), ElementsAre("http://h/script2"));
}

TEST_F(DocumentRetrieverTest, PagesOfTheWebDoNotLeadToFiles) {
    const std::string secret = m_folder.write("secret.html", html("", "salary"));
    const std::string address = Url::fromFilePath(secret).absoluteString();
    m_site.text("http://h/redirect", refresh(address, "bait"));
    m_site.text("http://h/frames", html("", "<frameset><frame src=" + address + "></frameset>"));
    index("http://h/redirect");
    index("http://h/frames");
    EXPECT_THAT(find("salary"), IsEmpty());
    EXPECT_THAT(find("bait"), ElementsAre("http://h/redirect"));
    const std::string local =
        m_folder.write("frames.html", html("", "<frameset><frame src=\"secret.html\"></frameset>"));
    index(Url::fromFilePath(local).absoluteString());
    EXPECT_THAT(find("salary"), ElementsAre(address));
}

TEST_F(DocumentRetrieverTest, NoPageCanMakeWorkWithoutEnd) {
    const std::string longName(9000, 'x');
    std::string frames;
    for (int i = 0; i < 50; ++i) frames += "<frame src=?" + std::to_string(i) + ">";
    m_site.text("http://h/long", refresh("/" + longName, "too far"));
    m_site.text("http://h/" + longName, html("", "endless" + frames));
    m_site.text("http://h/named", html("", "named <frame src=" + longName + ">"));
    for (const std::string& page : {std::string("long"), longName, std::string("named")}) {
        index("http://h/" + page);
    }
    EXPECT_THAT(find("too far"), ElementsAre("http://h/long"));
    EXPECT_THAT(find("endless"), ElementsAre("http://h/" + longName));
    EXPECT_EQ(m_site.requests("http://h/" + longName + "?1"), 0);
    EXPECT_EQ(retriever().finishedDocuments(), 3U);

    // Frames that redirect to pages with frames, and so on.
    for (int i = 0; i < 20; ++i) {
        const std::string next = std::to_string(i + 1);
        m_site.text("http://h/f" + std::to_string(i), html("", "<frame src=r" + next + ">"));
        m_site.text("http://h/r" + next, refresh("f" + next));
    }
    index("http://h/f0");
    EXPECT_EQ(m_site.requests("http://h/f3"), 1);
    EXPECT_EQ(m_site.requests("http://h/r4"), 0);
}

TEST_F(DocumentRetrieverTest, StoredPasswordsReachTheirPages) {
    class Keyring : public CredentialStore {
    public:
        std::vector<ProtectionSpace> protectionSpaces(const std::string& host) override {
            ++asked;
            std::vector<ProtectionSpace> spaces;
            if (host != "known") return spaces;
            spaces.push_back({.host = host, .protocol = "https"});
            spaces.back().users.push_back({"ann", Secret("key")});
            return spaces;
        }
        std::atomic<int> asked = 0;
    };
    const auto keyring = std::make_shared<Keyring>();
    m_credentials = keyring;
    const auto sent = [this](const std::string& page) {
        m_site.page(page, {});
        index(page, m_clock.now());
        m_clock.advance(1);
        const HeaderFields fields = m_site.headersOf(page);
        return fields.contains("Authorization") ? fields.at("Authorization") : "";
    };
    EXPECT_EQ(sent("https://known/a"), "");
    EXPECT_EQ(keyring->asked, 0) << "nobody allowed it";
    prefer("IndexProtectedPages", 1);
    EXPECT_EQ(sent("https://known/b"), "Basic YW5uOmtleQ==");
    EXPECT_EQ(sent("https://known/c"), "Basic YW5uOmtleQ==");
    EXPECT_EQ(keyring->asked, 2) << "no password is remembered";
    EXPECT_EQ(sent("https://other/a"), "");
    EXPECT_EQ(sent("https://other/b"), "");
    EXPECT_EQ(keyring->asked, 3);
    EXPECT_EQ(sent("http://known/d"), "");
    EXPECT_EQ(keyring->asked, 3);
}

TEST_F(DocumentRetrieverTest, FeedsAreIndexedAsTheyStand) {
    m_site.page(
        "http://h/news",
        {.type = "application/rss+xml",
         .body = "<rss version=\"2.0\"><channel><item>harbour news</item></channel></rss>"});
    m_site.page("http://h/atom", {.type = "application/atom+xml", .body = "<feed>x</feed>"});
    index("feed://h/news?format=full");
    index("feed://h/atom");
    EXPECT_THAT(find("harbour"), ElementsAre("feed://h/news?format=full"));
    EXPECT_EQ(recordOf("feed://h/news?format=full")->title, "RSS Feed: h");
    EXPECT_THAT(takeReports(), ElementsAre(HasSubstr("MIME type of application/atom+xml")));
}

TEST_F(DocumentRetrieverTest, FramesAreQueuedButNotTheFramesOfFrames) {
    const auto frames = [](const std::string& first, const std::string& second) {
        return html(
            "", "<frameset><frame src=\"" + first + "\"><frame src=\"" + second + "\"></frameset>");
    };
    m_site.text("http://h/top", frames("inner", "moved"));
    m_site.text("http://h/inner", frames("deep", "deeper") + "core");
    m_site.text("http://h/moved", refresh("new"));
    m_site.text("http://h/new", frames("again", "again2"));
    queue("http://h/top", Date::fromReference(50), "Pages", "Title");
    finish();
    EXPECT_EQ(m_site.requests("http://h/inner"), 1);
    EXPECT_EQ(m_site.requests("http://h/deep"), 0);
    EXPECT_EQ(m_site.requests("http://h/again"), 1) << "a frame that redirects is a frame no more";
    EXPECT_EQ(recordOf("http://h/inner")->date, Date::fromReference(50));
    EXPECT_THAT(recordOf("http://h/inner")->title, testing::Not(HasSubstr("Title")));
}

TEST_F(DocumentRetrieverTest, ASlowNameHoldsUpNobodyElse) {
    class SlowNames : public OnlineNetwork {
    public:
        bool isHostReachable(const std::string& host) override {
            if (host == "slow") answered.wait();
            return host != "gone";
        }
        std::latch answered{1};
    };
    const auto names = std::make_shared<SlowNames>();
    m_hosts = names;
    for (const char* page : {"http://slow/1", "http://slow/2", "http://fast/1"}) {
        m_site.page(page, {});
        queue(page);
    }
    queue("http://gone/1");
    waitUntil([&] { return m_site.requests("http://fast/1") == 1; });
    waitUntil([&] { return retriever().finishedDocuments() == 2; });
    EXPECT_THAT(takeReports(), ElementsAre("http://gone/1: Can't find the server gone ()"));
    EXPECT_TRUE(retriever().downloadWaitingForSource("Pages"));
    EXPECT_EQ(m_site.requests("http://slow/1"), 0);
    m_site.page("http://slow/3", {});
    queue("http://slow/3", std::nullopt, "Dropped");
    retriever().cancelDownloadsForSource("Dropped", seconds(1));
    waitUntil([&] { return !retriever().isAtWorkForSource("Dropped"); });
    names->answered.count_down();
    finish();
    EXPECT_EQ(find("words").size(), 3U);
    EXPECT_EQ(m_site.requests("http://slow/3"), 0) << "it was cancelled while it waited";
}

TEST_F(DocumentRetrieverTest, CancellingASourceLeavesTheOthers) {
    m_settings->set("MaxDownloadThreads", 3);
    for (const char* page :
         {"Keep0", "Drop0", "Drop1", "Keep1", "Drop2", "Keep2", "Drop3", "Keep3"}) {
        queueHeld(std::string("http://h/") + page, std::string(page, 4));
    }
    waitUntilHeld(3);
    retriever().cancelDownloadsForSource("Drop", seconds(5));
    EXPECT_FALSE(retriever().downloadWaitingForSource("Drop"));
    EXPECT_FALSE(retriever().downloadInProgressForSource("Drop"));
    EXPECT_TRUE(retriever().downloadInProgressForSource("Keep"));
    EXPECT_THAT(takeReports(),
                ElementsAre("http://h/Drop0: Failed to get content (Download cancelled.)",
                            "http://h/Drop1: Failed to get content (Download cancelled.)"));
    for (int i = 0; i < 4; ++i) releaseNext();
    finish();
    EXPECT_EQ(find("words").size(), 4U);
    index("http://h/Drop0");
    EXPECT_EQ(m_site.requests("http://h/Drop0"), 1) << "a failed address until the restart";
}

TEST_F(DocumentRetrieverTest, WithIndexingOffDocumentsAreDropped) {
    queueHeld("http://h/held");
    waitUntilHeld(1);
    store().disableIndexing();
    m_site.release();
    index("http://h/other");
    EXPECT_EQ(m_site.requests("http://h/other"), 0);
    EXPECT_THAT(find("words"), IsEmpty());
    EXPECT_THAT(takeReports(), IsEmpty());
}

TEST_F(DocumentRetrieverTest, ObjectsOfCachesAreIndexedAtOnceWithTheirPath) {
    const auto object = [](const std::string& address, const std::string& type,
                           const std::string& bytes, std::optional<std::string> charset = {}) {
        return CachedURLResponse{
            .data = bytes,
            .response = {
                .url = url(address), .mimeType = type, .textEncodingName = std::move(charset)}};
    };
    const auto keep = [this](const CachedObject& kept, const std::string& path) {
        store().addToPendingDocumentCount(1);
        EXPECT_FALSE(retriever().indexEncodedObject(kept, Date::fromReference(9), "Cache",
                                                    "SafariCache", path));
    };
    keep(object("http://h/a", "text/html", html("", "caf\xC3\xA9"), "utf-8"), "/cache/a");
    keep(object("http://h/b", "text/html",
                html("<meta http-equiv=x content=\"text/html; charset=utf-8\">", "th\xC3\xA9")),
         "/cache/b");
    keep(WebResource{.url = url("http://h/c"),
                     .mimeType = "text/html",
                     .textEncodingName = "Shift_JIS",
                     .data = html("", "\x93\xFA\x96{")},
         "/archive");
    keep(object("http://h/d", "image/png", "words"), "/cache/d");
    keep(object("http://h/e.jpg", "text/html", html("", "words")), "/cache/e");
    keep(object("http://h/f", "text/html", "\xFF\xFE broken", "utf-8"), "/cache/f");
    EXPECT_THAT(find("caf\xC3\xA9"), ElementsAre("http://h/a"));
    EXPECT_THAT(find("th\xC3\xA9"), ElementsAre("http://h/b"));
    EXPECT_THAT(find("\xE6\x97\xA5\xE6\x9C\xAC"), ElementsAre("http://h/c"));
    EXPECT_EQ(recordOf("http://h/a")->cachePath, "/cache/a");
    EXPECT_EQ(recordOf("http://h/c")->indexer, "SafariCache");
    EXPECT_THAT(find("words"), IsEmpty());
    EXPECT_EQ(m_site.requests("http://h/a"), 0);
}

TEST_F(DocumentRetrieverTest, FilesAreReadOrGivenToTheirExtractor) {
    m_settings->set("UseContentExtractors", true);
    m_extractor.text = "text of the report";
    store().applyPreferences();
    const auto file = [this](const std::string& name, const std::string& bytes) {
        return Url::fromFilePath(m_folder.write(name, bytes)).absoluteString();
    };
    const std::string latin = file("a.html", html("", "caf\xE9"));
    const std::string marked = file("b.txt", "\xEF\xBB\xBFna\xC3\xAFve");
    const std::string wide = file("c.txt", std::string("\xFF\xFEh\0i\0", 6));
    const std::string report = file("d.pdf", "%PDF");
    const std::string empty = file("e.html", "");
    for (const std::string& each : {latin, marked, wide, report, empty}) index(each);
    index("file:///nowhere/at-all.html");
    EXPECT_THAT(find("caf\xC3\xA9"), ElementsAre(latin));
    EXPECT_THAT(find("na\xC3\xAFve"), ElementsAre(marked));
    EXPECT_THAT(find("hi"), ElementsAre(wide));
    EXPECT_THAT(find("report"), ElementsAre(report));
    EXPECT_THAT(takeReports(),
                ElementsAre(HasSubstr("no further error information"), HasSubstr("-1100")));
}

// Text of every encoding is the business of Encodings.
TEST_F(DocumentRetrieverTest, APageIsReadAsItSaysOrElseAsItsServerSays) {
    const auto saying = [](const std::string& charset, const std::string& bytes) {
        return html("<meta http-equiv=t content=\"text/html; charset=" + charset + "\">", bytes);
    };
    const std::vector<std::tuple<std::string, std::string, std::string>> encodings = {
        {"Shift_JIS", "\x93\xFA\x96\x7B\x8C\xEA", "\u65E5\u672C\u8A9E"},
        {"KOI8-R", "\xD0\xD2\xC9\xD7\xC5\xD4", "\u043F\u0440\u0438\u0432\u0435\u0442"},
        {"utf-8", "\u00FCbung", "\u00FCbung"}};
    for (const auto& [charset, bytes, word] : encodings) {
        const std::string name = "http://h/" + charset;
        m_site.page(name + "/header", {.charset = charset, .body = html("", bytes)});
        m_site.text(name + "/page", saying(charset, bytes));
        m_site.page(name + "/both", {.charset = "ISO-8859-1", .body = saying(charset, bytes)});
        for (const char* way : {"/header", "/page", "/both"}) index(name + way);
        EXPECT_THAT(find(word),
                    UnorderedElementsAre(name + "/header", name + "/page", name + "/both"));
    }
    std::string wide = "\xFF\xFE";
    for (const char c : html("", "wide")) wide += {c, '\0'};
    m_site.page("http://h/utf-16", {.charset = "UTF-16", .body = wide});
    m_site.text("http://h/undeclared", html("", "gar\xE7on"));
    m_site.page("http://h/unknown", {.charset = "x-unheard-of", .body = html("", "gar\xE7on")});
    for (const char* page : {"utf-16", "undeclared", "unknown"}) {
        index(std::string("http://h/") + page);
    }
    EXPECT_THAT(find("wide"), ElementsAre("http://h/utf-16"));
    EXPECT_THAT(find("gar\u00E7on"),
                UnorderedElementsAre("http://h/undeclared", "http://h/unknown"));
}

// Answers come from several threads, some pages lead on, sources are cancelled, indexing is
// switched off and on: whatever happens, every document that was announced comes to an end.
TEST_F(DocumentRetrieverTest, AfterAnyOutcomesNothingIsPending) {
    class SomeNames : public OnlineNetwork {
    public:
        bool isHostReachable(const std::string& host) override { return host != "h3"; }
    };
    m_hosts = std::make_shared<SomeNames>();
    m_site.cancelTooLate();
    std::vector<std::jthread> answering;
    for (int i = 0; i < 3; ++i) {
        answering.emplace_back([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                if (!m_site.release()) std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        });
    }
    const std::string file = m_folder.write("f.html", html("", "words"));
    m_settings->set("UseContentExtractors", true);
    store().applyPreferences();
    m_extractor.text = "words of a report";
    fulltext::Random random(11);
    const auto pick = [&random](int count) { return fulltext::pick(random, count); };
    const auto oneOf = [&pick](const auto& values) {
        return values[static_cast<std::size_t>(pick(static_cast<int>(values.size())))];
    };
    const auto somewhere = [&pick](int pages) {
        return "http://h" + std::to_string(pick(5)) + "/" + std::to_string(pick(pages));
    };
    const int documents = shortOrLong(4000, 100'000);
    for (int i = 0; i < documents; ++i) {
        const std::string page = somewhere(documents);
        Reply reply{.status = oneOf(std::array{200, 200, 404, 403, 500, 401}), .isHeld = true};
        if (pick(8) == 0) reply.type = oneOf(std::array{"image/png", "text/plain", "text/xml"});
        if (pick(9) == 0) reply.error = oneOf(std::array{-1001, -1005, 47});
        if (pick(9) == 0) reply.body = "";
        if (pick(9) == 0) reply.announced = 9 << 20;
        if (pick(7) == 0) {
            reply.body = refresh(somewhere(documents));
        }
        if (pick(7) == 0) {
            reply.body = html("", "<frame src=\"" + somewhere(documents) + "\"><frame src=\"" +
                                      somewhere(documents) + "\">");
        }
        if (reply.type == "text/plain") reply.type = "text/html";  // the one that stays announced
        m_site.page(page, reply);
        const std::string source = "Source" + std::to_string(pick(4));
        std::string address = page;
        if (pick(10) == 0) address = Url::fromFilePath(file).absoluteString();
        if (pick(30) == 0) address = "file:///report" + std::to_string(i) + ".pdf";
        queue(address, Date::fromReference(pick(100)), source);
        if (pick(500) == 0) {
            retriever().cancelDownloadsForSource(source, std::chrono::milliseconds(pick(3)));
        }
        if (pick(700) == 0) store().disableIndexing();
        if (pick(200) == 0) store().enableIndexing();
        if (pick(50) == 0) m_loop.drain();
    }
    store().enableIndexing();
    finish();
    EXPECT_GT(find("words").size(), 100U);
    EXPECT_GT(m_reports.size(), 500U);
}

TEST_F(DocumentRetrieverTest, EndingInTheMiddleOfWorkWaitsForNothing) {
    for (int i = 0; i < 50; ++i) queueHeld("http://h/" + std::to_string(i));
    waitUntilHeld(5);
    m_retriever.reset();
    EXPECT_EQ(m_site.held(), 0U);
    EXPECT_EQ(m_site.cancelled(), 5U);
}

}  // namespace
}  // namespace siftwell
