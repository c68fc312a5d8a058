// Commands: the other windows of the program and its end, as any one window asks for them.
//
// Threads: main. Each returns at once, but for those that ask the user something.
#pragma once

#include <QString>
#include <QStringList>

class QMenuBar;
class QWidget;

namespace siftwell {

class Commands {
public:
    virtual ~Commands() = default;

    virtual void showSearchWindow() = 0;
    virtual void showMiniSearch() = 0;
    virtual void showIndexStatus() = 0;
    virtual void showErrors() = 0;
    // On the tab, counted from 0 as in PrefsTab.
    virtual void showPreferences(int tab = 0) = 0;
    virtual void showAbout() = 0;
    // What the browsers on this computer hold, to be picked from.
    virtual void showFirstRun() = 0;

    // Asks what to add; addresses and files that were dropped somewhere are filled in.
    virtual void addToIndex(const QStringList& targets = {}) = 0;
    virtual void scanNow() = 0;
    // Each asks first, and says what went wrong.
    virtual void applyFilters(QWidget* parent) = 0;
    virtual void clearIndex(QWidget* parent) = 0;
    virtual void rebuildIndex(QWidget* parent) = 0;
    virtual void compactIndex(QWidget* parent) = 0;
    virtual void dumpIndex(QWidget* parent, bool withTerms) = 0;

    virtual void showHelp() = 0;
    // The maker's page for feedback (0) or support (any other).
    virtual void goToURL(int tag) = 0;
    virtual void quit() = 0;

    // The menus that all windows share: the program's, the index's, the windows', help. A window
    // puts its own between: those that stand there already when this is called.
    virtual void addProgramMenus(QMenuBar& menus) = 0;
};

// The tabs of the preferences.
enum PrefsTab { SourcesTab = 0, FiltersTab = 1, SearchTab = 2, GeneralTab = 3, PrivacyTab = 4 };

}  // namespace siftwell
