// WindowSet: the windows of the program: makes each when it is first asked for, and is the one
// place that knows them all.
//
// Threads: main.
#pragma once

#include <memory>

#include "app/AppController.h"
#include "app/ProgramWindows.h"
#include "app/Session.h"
#include "ui/Commands.h"
#include "ui/Program.h"
#include "ui/search/SearchWindows.h"

namespace siftwell {

class WindowSet : public Commands, public ProgramWindows {
public:
    // Borrowed; outlives the windows.
    struct Surroundings {
        Session& session;
        AppController& driver;
        Desktop& desktop;
        Alerts& alerts;
    };
    explicit WindowSet(const Surroundings& surroundings);
    ~WindowSet() override;

    // The windows that stood open when the program ended; before the very first start, the choice
    // of browsers.
    void open();

    // ---- ProgramWindows
    void showSearch() override;
    void toggle() override;
    Status searchFor(const std::string& text) override;

    // ---- Commands
    void showSearchWindow() override { showSearch(); }
    void showMiniSearch() override;
    void showIndexStatus() override;
    void showErrors() override;
    void showPreferences(int tab) override;
    void showAbout() override;
    void showFirstRun() override;
    void addToIndex(const QStringList& targets) override;
    void scanNow() override;
    void clearIndex(QWidget* parent) override;
    void rebuildIndex(QWidget* parent) override;
    void compactIndex(QWidget* parent) override;
    void dumpIndex(QWidget* parent, bool withTerms) override;
    void goToURL(int tag) override;
    void quit() override;
    void addProgramMenus(QMenuBar& menus) override;

private:
    SearchWindows& search();

    Program m_program;
    std::unique_ptr<SearchWindows> m_search;
};

}  // namespace siftwell
