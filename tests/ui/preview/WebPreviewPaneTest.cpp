#include "WebPreviewPaneTest.h"

#include <QBuffer>
#include <QImage>

#include "ui/preview/FindBar.h"
#include "ui/preview/PreviewMessage.h"

namespace siftwell {

namespace {

constexpr int kLongest = 20000;  // ms

std::string picture(int width) {
    QImage image(width, 1, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes.toStdString();
}

constexpr const char* kWidths = "[...document.images].map((i) => i.naturalWidth).join(' ')";

}  // namespace

void WebPreviewPaneTest::init() {
    m_site = std::make_unique<HttpSite>();
    m_site->page("/wide.png", {.type = "image/png", .body = picture(7)});
    m_program = std::make_unique<UiProgram>();
    m_pane = std::make_unique<WebPreviewPane>(m_program->program());
    m_settled = std::make_unique<QSignalSpy>(m_pane.get(), &WebPreviewPane::settled);
    m_pane->resize(600, 400);
    m_pane->show();
}

void WebPreviewPaneTest::cleanup() {
    m_settled.reset();
    m_pane.reset();
    m_program.reset();
    m_site.reset();
}

PropertyList WebPreviewPaneTest::resource(const Part& part) {
    return PropertyList::Dictionary{{"WebResourceURL", part.url},
                                    {"WebResourceMIMEType", part.type},
                                    {"WebResourceData", PropertyList::Data{part.bytes}}};
}

ResultRow WebPreviewPaneTest::saved(const Part& page, const PropertyList::Array& parts,
                                    const PropertyList::Array& frames) {
    const std::string name = "page" + std::to_string(++m_pages) + ".webarchive";
    const std::string bytes =
        serializePropertyList(PropertyList::Dictionary{{"WebMainResource", resource(page)},
                                                       {"WebSubresources", parts},
                                                       {"WebSubframeArchives", frames}});
    m_program->home().write(name, bytes);
    ResultRow row;
    row.url = page.url + "?" + std::to_string(m_pages);
    row.cachePath = m_program->home().file(name);
    row.indexer = "LocalFiles";
    return row;
}

ResultRow WebPreviewPaneTest::live(const std::string& path) {
    ResultRow row;
    row.url = m_site->address(path);
    row.cachePath = m_program->home().file("gone");
    row.indexer = "LocalFiles";
    return row;
}

void WebPreviewPaneTest::show(const ResultRow& row, const std::string& query) {
    const qsizetype before = m_settled->count();
    m_pane->showRow(row, query);
    QTRY_COMPARE_WITH_TIMEOUT(m_settled->count(), before + 1, kLongest);
}

QVariant WebPreviewPaneTest::script(const char* code) {
    std::optional<QVariant> answer;
    if (m_pane->engine() == nullptr) return {};
    m_pane->engine()->runScript(QString::fromUtf8(code),
                                [&answer](const QVariant& value) { answer = value; });
    if (!QTest::qWaitFor([&answer] { return answer.has_value(); }, kLongest)) qFatal("no answer");
    return *answer;
}

bool WebPreviewPaneTest::isMessage(const QString& reason) {
    const auto* const message = m_pane->findChild<PreviewMessage*>();
    return message->isVisible() && message->reason() == reason;
}

QString WebPreviewPaneTest::countOfFindBar() {
    return m_pane->findChild<FindBar*>()->findChild<QLabel*>()->text();
}

void WebPreviewPaneTest::click(const char* element) {
    const QString code = QStringLiteral(
        "(() => {const place = document.getElementById('%1').getBoundingClientRect();"
        "return [place.left + place.width / 2, place.top + place.height / 2]})()");
    const QVariantList place =
        script(code.arg(QString::fromLatin1(element)).toUtf8().constData()).toList();
    const QPoint point(place[0].toInt(), place[1].toInt());
    QTest::mouseClick(m_pane->engine()->widget()->focusProxy(), Qt::LeftButton, {}, point);
}

void WebPreviewPaneTest::engineIsNotStartedBeforeAPageIsShown() {
    QVERIFY(m_pane->engine() == nullptr);
    m_pane->performFindPanelAction(1);
    m_pane->performFindPanelAction(2);
    m_pane->blank();
    QVERIFY(m_pane->engine() == nullptr);
    m_pane->showRow({}, "");  // no page
    QTRY_VERIFY(isMessage({}));
    QVERIFY(m_pane->engine() == nullptr);
}

void WebPreviewPaneTest::copyAsksNobodyAndRunsNothing() {
    m_program->settings().set("LoadImages", false);
    show(
        savedPage("<title>Title</title><meta http-equiv=refresh content='0;url=/next'>"
                  "<script>document.title = 'script'</script><script src=/a.js></script>"
                  "<link rel=stylesheet href=/a.css><link rel=prefetch href=/b>"
                  "<img src=/wide.png onerror='document.title=1'><iframe src=/frame></iframe>"
                  "<video src=/film></video><object data=/object></object>"
                  "<embed src=/embed><body background=/wide.png onload='document.title=2'>"));
    QTest::qWait(100);
    for (const char* const path : {"/page", "/next", "/a.js", "/a.css", "/b", "/wide.png", "/frame",
                                   "/film", "/object", "/embed", "/favicon.ico"}) {
        QCOMPARE(m_site->requests(path), 0);
    }
    QCOMPARE(script("document.title").toString(), QStringLiteral("Title"));
}

void WebPreviewPaneTest::picturesOfTheWebAreLoadedWherePreviewsShowThem() {
    show(savedPage("<img src=wide.png><link rel=stylesheet href=/a.css>"));
    QCOMPARE(script(kWidths).toString(), QStringLiteral("7"));
    QCOMPARE(m_site->requests("/wide.png"), 1);
    QCOMPARE(m_site->requests("/a.css"), 0);
}

// Not even a page that was saved from the web.
void WebPreviewPaneTest::filesOfThisComputerAskNobodyForPictures() {
    const std::string page = "<img src='" + m_site->address("/wide.png") + "'>";
    m_program->home().write("local.html", page);
    ResultRow archive = saved({m_site->address("/page"), "text/html", page});
    archive.url = Url::fromFilePath(archive.cachePath).absoluteString();
    ResultRow local;
    local.url = Url::fromFilePath(m_program->home().file("local.html")).absoluteString();
    for (const ResultRow& row : {archive, local}) {
        show(row);
        QCOMPARE(script("document.images.length").toInt(), 1);
        QCOMPARE(script(kWidths).toString(), QStringLiteral("0"));
    }
    QCOMPARE(m_site->requests("/wide.png"), 0);
}

void WebPreviewPaneTest::savedPageHasItsPicturesStylesAndFrames() {
    const auto at = [this](const char* path) { return m_site->address(path); };
    const PropertyList frame = PropertyList::Dictionary{
        {"WebMainResource", resource({at("/frame/a"), "text/html", "<img src=b.png>"})},
        {"WebSubresources",
         PropertyList::Array{resource({at("/frame/b.png"), "image/png", picture(5)})}}};
    show(saved({at("/page"), "text/html",
                "<link rel=stylesheet href=a.css><img src='/wide.png#x'><iframe src=frame/a>"},
               {resource({at("/wide.png"), "image/png", picture(3)}),
                resource({at("/a.css"), "text/css", "body{margin-left:77px}"})},
               {frame}));
    QCOMPARE(script(kWidths).toString(), QStringLiteral("3"));
    QCOMPARE(script("getComputedStyle(document.body).marginLeft").toString(),
             QStringLiteral("77px"));
    QCOMPARE(script("frames.length").toInt(), 1);
    // The frame is there, and a stranger.
    QCOMPARE(script("try { frames[0].document.title } catch (error) { error.name }").toString(),
             QStringLiteral("SecurityError"));
    for (const char* const path : {"/wide.png", "/a.css", "/frame/a", "/frame/b.png"}) {
        QCOMPARE(m_site->requests(path), 0);
    }
}

void WebPreviewPaneTest::noPageReachesAFile() {
    m_program->settings().set("PreviewRunsScripts", true);
    m_program->home().write("secret.png", picture(9));
    m_program->home().write("secret.css", "body{margin-left:77px}");
    const auto file = [this](const char* name) {
        return Url::fromFilePath(m_program->home().file(name)).absoluteString();
    };
    const std::string page = "<title>page</title><img src='" + file("secret.png") +
                             "'><link rel=stylesheet href='" + file("secret.css") +
                             "'><iframe src='" + file("secret.css") + "'></iframe>" +
                             "<script>location = '" + file("secret.css") + "'</script>";
    m_site->page("/live", {.body = page});
    m_program->home().write("local.html", page);
    ResultRow local;
    local.url = file("local.html");
    for (const ResultRow& row : {savedPage(page), live("/live"), local}) {
        show(row);
        QTest::qWait(50);
        QCOMPARE(script(kWidths).toString(), QStringLiteral("0"));
        QCOMPARE(script("getComputedStyle(document.body).marginLeft").toString(),
                 QStringLiteral("8px"));
        QCOMPARE(script("document.title").toString(), QStringLiteral("page"));
    }
}

void WebPreviewPaneTest::scriptsRunWhenTheSettingSaysSo() {
    const std::string page = "<title>page</title><script>document.title = 'script'</script>";
    m_site->page("/live", {.body = page});
    show(live("/live"));
    QCOMPARE(script("document.title").toString(), QStringLiteral("page"));
    m_program->settings().set("PreviewRunsScripts", true);
    show(savedPage(page));
    QCOMPARE(script("document.title").toString(), QStringLiteral("script"));
}

void WebPreviewPaneTest::wordsAreMarkedAndTheFirstIsInSight() {
    std::string body = "<title>keys</title><style>.key{}</style><p style='display:none'>KEY</p>";
    for (int i = 0; i < 100; ++i) body += "<p>line</p>";
    show(savedPage(body + "<p>The K\xC3\xA9y, the <b>key</b>board and k<i>eys</i></p>"), "key");
    QCOMPARE(script("[...document.querySelectorAll('siftwell-mark')]"
                    ".map((m) => m.textContent).join(' ')")
                 .toString(),
             QStringLiteral("KEY Kéy key"));
    QVERIFY(script("scrollY").toDouble() > 500);
    QCOMPARE(script("typeof siftwellTexts").toString(), QStringLiteral("undefined"));
}

void WebPreviewPaneTest::pageIsSearchedBothWaysAndRoundItsEnds() {
    show(savedPage("<p>Word and word and WORD"));
    m_pane->performFindPanelAction(1);
    auto* const field = m_pane->findChild<FindBar*>()->findChild<QLineEdit*>();
    QVERIFY(field->isVisible());
    QTest::keyClicks(field, QStringLiteral("word"));
    const auto isAt = [this](const char* count) {
        return QTest::qWaitFor([&] { return countOfFindBar() == QLatin1String(count); }, kLongest);
    };
    QVERIFY(isAt("1 of 3"));
    m_pane->performFindPanelAction(2);
    QVERIFY(isAt("2 of 3"));
    m_pane->performFindPanelAction(3);
    QVERIFY(isAt("1 of 3"));
    QTest::keyClick(field, Qt::Key_Return, Qt::ShiftModifier);
    QVERIFY(isAt("3 of 3"));
    QTest::keyClick(field, Qt::Key_F3);
    QVERIFY(isAt("1 of 3"));
    QTest::keyClicks(field, QStringLiteral("x"));
    QVERIFY(isAt("Not found"));
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(!field->isVisible());
}

void WebPreviewPaneTest::feedsBecomePages() {
    const std::string feed =
        "<?xml version='1.0'?><rss version='2.0'><channel><title>News</title><item>"
        "<title>First &amp; last</title><description>&lt;b>key&lt;/b></description></item>"
        "</channel></rss>";
    m_site->page("/feed.xml", {.type = "text/xml", .body = feed});
    m_site->page("/feed.rss", {.type = "application/rss+xml", .body = feed});
    for (const char* const path : {"/feed.xml", "/feed.rss"}) {
        show(live(path), "key");
        QCOMPARE(script("document.title").toString(), QStringLiteral("News"));
        QCOMPARE(script("document.querySelector('siftwell-mark').textContent").toString(),
                 QStringLiteral("key"));
    }
    m_site->page("/other.xml", {.type = "text/xml", .body = "<a>x</a>"});
    show(live("/other.xml"));
    QVERIFY(!isMessage({}));
}

void WebPreviewPaneTest::pageWithoutCopyIsLoaded() {
    m_site->page("/live", {.body = "<title>live</title><link rel=stylesheet href=/a.css>key"});
    m_site->page("/a.css", {.type = "text/css", .body = "body{margin-left:77px}"});
    m_site->page("/old", {.status = 302, .headers = {{"Location", "/live"}}});
    show(live("/live"), "key");
    QCOMPARE(script("document.title").toString(), QStringLiteral("live"));
    QCOMPARE(m_site->requests("/live"), 1);
    QCOMPARE(m_site->requests("/a.css"), 1);
    m_pane->showRow(live("/live"), "key");  // is there already
    show(live("/old"));
    QCOMPARE(script("document.title").toString(), QStringLiteral("live"));
    QCOMPARE(m_pane->webURL(), toQString(m_site->address("/old")));
}

void WebPreviewPaneTest::pageThatIsShownStays() {
    m_site->page("/live",
                 {.body = "<title>live</title><meta http-equiv=refresh content='1;url=/next'>"});
    show(live("/live"));
    QTest::qWait(1500);
    QCOMPARE(script("document.title").toString(), QStringLiteral("live"));
    QCOMPARE(m_site->requests("/next"), 0);
}

void WebPreviewPaneTest::pageThatCannotBeLoadedSaysWhy() {
    show(live("/none"));
    QVERIFY(isMessage(QStringLiteral("Its server no longer has it.")));
    m_site->page("/file", {.type = "application/zip", .body = "PK"});
    show(live("/file"));
    QVERIFY(isMessage(QStringLiteral("It is a file that only another program can show.")));
    ResultRow row = live("/x");
    m_site.reset();
    show(row);
    QVERIFY(isMessage(QStringLiteral("Its server cannot be reached.")));
    const QSignalSpy opened(m_pane.get(), &PreviewPane::openRequested);
    m_pane->findChild<PreviewMessage*>()->findChild<QPushButton*>()->click();
    QCOMPARE(opened.count(), 1);
}

void WebPreviewPaneTest::laterRowTakesThePlaceOfAnEarlierOne() {
    m_site->page("/slow", {.body = "<title>slow</title>", .delay = std::chrono::milliseconds(300)});
    m_pane->showRow(live("/slow"), "");
    QTRY_COMPARE_WITH_TIMEOUT(m_site->requests("/slow"), 1, kLongest);
    m_pane->showRow(savedPage("<title>first</title>"), "");
    show(savedPage("<title>last</title>"));
    QTest::qWait(400);
    QCOMPARE(m_settled->count(), 1);
    QCOMPARE(script("document.title").toString(), QStringLiteral("last"));
}

void WebPreviewPaneTest::largePageIsShownWhole() {
    std::string body = "<title>large</title>";
    while (body.size() < 3 << 20) body += "<p>some words that fill a line of the page</p>\n";
    show(savedPage(body + "<p id=end>the end"), "words");
    QCOMPARE(script("document.getElementById('end').textContent").toString(),
             QStringLiteral("the end"));
    QCOMPARE(script("document.querySelectorAll('siftwell-mark').length").toInt(), 2000);
}

void WebPreviewPaneTest::linksOpenInTheBrowserAndPlacesInThePage() {
    show(
        savedPage("<a id=near href='#far'>near</a> <a id=out href='/other?a=%20b'>out</a> "
                  "<a id=new target=_blank href='/new'>new</a> <a id=file href='file:///x'>f</a>"
                  "<p style='margin-top:3000px' id=far>far"));
    QTest::qWait(200);  // events of the mouse need a page that is drawn
    const auto& opened = m_program->desktop.opened;
    click("out");
    QTRY_COMPARE_WITH_TIMEOUT(opened.size(), std::size_t{1}, kLongest);
    click("new");
    QTRY_COMPARE_WITH_TIMEOUT(opened.size(), std::size_t{2}, kLongest);
    click("file");
    QCOMPARE(m_program->desktop.opened[0], m_site->address("/other?a=%20b"));
    QCOMPARE(m_program->desktop.opened[1], m_site->address("/new"));
    click("near");
    QTRY_VERIFY_WITH_TIMEOUT(script("scrollY").toDouble() > 1000, kLongest);
    QCOMPARE(m_site->requests("/other") + m_site->requests("/new") + m_site->requests("/page"), 0);
}

void WebPreviewPaneTest::aClickLeadsToOnePageAndAKeyToNone() {
    m_program->settings().set("PreviewRunsScripts", true);
    show(
        savedPage("<a id=a href='/a'>a</a> <a id=b href='/b'>b</a><script>"
                  "for (const kind of ['click', 'keydown']) addEventListener(kind, (event) => {"
                  "  if (event.isTrusted) document.title += kind;"
                  "  if (event.isTrusted) document.getElementById('b').click(); })</script>"));
    QTest::qWait(200);
    QTest::keyClick(m_pane->engine()->widget()->focusProxy(), Qt::Key_X);
    QTRY_COMPARE_WITH_TIMEOUT(script("document.title").toString(), QStringLiteral("keydown"),
                              kLongest);
    QTest::qWait(100);
    QVERIFY(m_program->desktop.opened.empty());
    click("a");
    QTRY_COMPARE_WITH_TIMEOUT(m_program->desktop.opened.size(), std::size_t{1}, kLongest);
    QTest::qWait(200);
    QCOMPARE(m_program->desktop.opened.size(), std::size_t{1});
}

void WebPreviewPaneTest::blankPaneHasNoPage() {
    show(savedPage("page"));
    const QSignalSpy changed(m_pane.get(), &PreviewPane::webURLChanged);
    m_pane->blank();
    QVERIFY(!m_pane->engine()->widget()->isVisible());
    QCOMPARE(m_pane->webURL(), QString());
    QCOMPARE(changed.count(), 1);
    m_pane->blank();
    QCOMPARE(changed.count(), 1);
}

}  // namespace siftwell
