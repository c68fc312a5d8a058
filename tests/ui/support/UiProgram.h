// UiProgram: the program behind the windows, with a home of its own: real settings, indexes and
// driver; a desktop and commands that note what is asked of them.
#pragma once

#include <QStringList>
#include <QtTest>
#include <memory>
#include <string>
#include <vector>

#include "app/AppController.h"
#include "app/Session.h"
#include "support/TemporaryFolder.h"
#include "ui/Program.h"
#include "ui/QtRunLoop.h"
#include "ui/Text.h"

namespace siftwell {

class NotedDesktop : public Desktop {
public:
    bool open(const Url& url) override {
        opened.push_back(url.absoluteString());
        return canOpen;
    }
    void copy(const Url&, const std::string& text) override { copied.push_back(text); }

    std::vector<std::string> opened;
    std::vector<std::string> copied;
    bool canOpen = true;
};

class NotedAlerts : public Alerts {
public:
    std::size_t ask(const Alert& alert, std::size_t) override {
        asked.push_back(alert);
        return answer;
    }

    std::vector<Alert> asked;
    std::size_t answer = 0;
};

// Each call is noted as a word, with its argument.
class NotedCommands : public Commands {
public:
    void showSearchWindow() override { note("search"); }
    void showMiniSearch() override { note("mini"); }
    void showIndexStatus() override { note("status"); }
    void showErrors() override { note("errors"); }
    void showPreferences(int tab) override { note("preferences " + std::to_string(tab)); }
    void showAbout() override { note("about"); }
    void showFirstRun() override { note("first run"); }
    void addToIndex(const QStringList& targets) override {
        note("add " + targets.join(QLatin1Char(' ')).toStdString());
    }
    void scanNow() override { note("scan"); }
    void applyFilters(QWidget*) override { note("filter"); }
    void clearIndex(QWidget*) override { note("clear"); }
    void rebuildIndex(QWidget*) override { note("rebuild"); }
    void compactIndex(QWidget*) override { note("compact"); }
    void dumpIndex(QWidget*, bool withTerms) override { note(withTerms ? "dump terms" : "dump"); }
    void showHelp() override { note("help"); }
    void goToURL(int tag) override { note("go " + std::to_string(tag)); }
    void quit() override { note("quit"); }
    void addProgramMenus(QMenuBar&) override {}

    std::vector<std::string> calls;

private:
    void note(const std::string& call) { calls.push_back(call); }
};

class UiProgram {
public:
    UiProgram() {
        auto opened = Session::open(m_paths, Session::Purpose::Writing, *m_loop);
        if (!opened) qFatal("%s", opened.status().message().c_str());
        m_session = *std::move(opened);
        m_driver = std::make_unique<AppController>(
            AppController::Surroundings{.session = *m_session, .alerts = alerts});
        m_driver->waitUntilIndexingIsEnabled();
    }
    ~UiProgram() { static_cast<void>(closeProgram(m_driver, m_session)); }
    UiProgram(const UiProgram&) = delete;
    UiProgram& operator=(const UiProgram&) = delete;

    Program program() { return {*m_session, *m_driver, desktop, alerts, commands}; }
    Session& session() { return *m_session; }
    AppController& driver() { return *m_driver; }
    Settings& settings() { return m_session->settings(); }
    const TemporaryFolder& home() const { return m_home; }

    // A page in the index of the source and the address's scheme; `date` in seconds since 2001.
    // It can be found when this returns.
    void addPage(const std::string& url, const std::string& title, const std::string& text,
                 const std::string& source = "Pages", double date = 800'000'000) {
        m_session->indexes().parseAndAddContent(
            {.content =
                 "<html><head><title>" + title + "</title></head><body>" + text + "</body></html>",
             .url = Url::parse(url).value(),
             .date = Date::fromReference(date),
             .title = title,
             .cachePath = std::nullopt,
             .source = source,
             .indexer = "URLExtractor",
             .mimeType = "text/html"});
        m_session->indexes().flush();
    }

    NotedDesktop desktop;
    NotedAlerts alerts;
    NotedCommands commands;

private:
    const TemporaryFolder m_home;
    const Paths m_paths{.settingsFile = m_home.file("config/settings.plist"),
                        .oldIndexFolder = m_home.file("old"),
                        .applicationData = m_home.file("data"),
                        .stateFolder = m_home.file("state"),
                        .resourceFolder = SIFTWELL_SOURCE_DIR "/data/Contents/Resources",
                        .indexerTool = Paths::ofThisUser().indexerTool};
    const std::unique_ptr<RunLoop> m_loop = makeQtRunLoop();
    std::unique_ptr<Session> m_session;
    std::unique_ptr<AppController> m_driver;
};

}  // namespace siftwell
