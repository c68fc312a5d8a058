// WindowSet: the windows of the program: makes each when it is first asked for, and is the one
// place that knows them all.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QPointer>
#include <memory>
#include <vector>

#include "app/ProgramWindows.h"
#include "ui/Commands.h"
#include "ui/Program.h"
#include "ui/desktop/GlobalHotKey.h"
#include "ui/desktop/TrayIcon.h"
#include "ui/errors/ErrorWindow.h"
#include "ui/maintenance/MaintenanceDialogs.h"
#include "ui/preferences/PrefsWindow.h"
#include "ui/search/SearchWindows.h"
#include "ui/status/IndexStatusWindow.h"

namespace siftwell {

// How the program was started.
struct StartOptions {
    std::string searchQuery;      // to be searched for at once; "" for nothing
    bool isInBackground = false;  // with the session, not by hand
};

class WindowSet : public QObject, public Commands, public ProgramWindows {
    Q_OBJECT

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

    // The windows that stood open when the program ended; at the very first start, the choice of
    // browsers before. Whoever starts the program by hand comes to its front.
    void open(const StartOptions& options = {});

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
    void applyFilters(QWidget* parent) override { m_maintenance.applyFilters(parent); }
    void clearIndex(QWidget* parent) override { m_maintenance.clearIndex(parent); }
    void rebuildIndex(QWidget* parent) override { m_maintenance.rebuildIndex(parent); }
    void compactIndex(QWidget* parent) override { m_maintenance.compactIndex(parent); }
    void dumpIndex(QWidget* parent, bool withTerms) override {
        m_maintenance.dumpIndex(parent, withTerms);
    }
    void showHelp() override;
    void goToURL(int tag) override;
    void quit() override;
    void addProgramMenus(QMenuBar& menus) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    template <typename Window>
    void show(std::unique_ptr<Window>& window);
    void keepInTaskBar(const QWidget* window);
    void followTaskBarSetting();
    void applicationWillTerminate();
    void activate();
    void hide();
    void applicationDidBecomeActive();
    bool isRememberedWindowOpen() const;
    void tellOfUpdate(const PropertyList& update);

    const Program m_program;
    MaintenanceDialogs m_maintenance;
    SearchWindows m_search;
    std::unique_ptr<IndexStatusWindow> m_indexStatus;
    std::unique_ptr<ErrorWindow> m_errors;
    GlobalHotKey m_hotKey;
    TrayIcon m_tray;
    std::unique_ptr<PrefsWindow> m_preferences;
    std::vector<QPointer<QWidget>> m_hidden;  // by the hot key, to be shown by it again
    bool m_isInTaskBar = true;
    NotificationCentre::Observation m_preferenceChanges;
    NotificationCentre::Observation m_updates;
};

}  // namespace siftwell
