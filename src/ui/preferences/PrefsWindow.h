// PrefsWindow: the preferences. Indexing is off while they are open, so that no scan writes into
// what is edited; nothing counts until it is confirmed, and then all of it.
//
// Threads: main.
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

#include "ui/Program.h"
#include "ui/desktop/GlobalHotKey.h"
#include "ui/preferences/FiltersPage.h"
#include "ui/preferences/GeneralPage.h"
#include "ui/preferences/PrefsEdits.h"
#include "ui/preferences/PrivacyPage.h"
#include "ui/preferences/SearchPage.h"
#include "ui/preferences/SourcesPage.h"
#include "ui/preferences/WaitSheet.h"

namespace siftwell {

class PrefsWindow : public QDialog {
    Q_OBJECT

public:
    // `hotKey` outlives the window; null where nothing can be said of it.
    explicit PrefsWindow(const Program& program, const GlobalHotKey* hotKey = nullptr);
    // Stores what was edited, without questions.
    ~PrefsWindow() override;

    // Opens the window, or brings it to the front, on the tab (see PrefsTab). While a scan runs, or
    // a command, a sheet waits for its end; only then can be edited.
    void showWindow(int tab);
    bool isEditing() const { return m_state == State::Editing; }
    HotkeyField& hotkey() { return m_search->hotkey(); }
    QWidget* tabPage(int tab) { return m_tabs->widget(tab); }

    // The program is about to end: stores what was edited, after the questions. The window is
    // hidden in any case and does not stand in the way.
    void applicationWillTerminate();

    void accept() override;  // confirms
    void reject() override;  // cancels, the wait too

private:
    enum class State { Closed, Waiting, Editing, Ending };

    void layOut();
    void placeFrame();
    void load();
    void setEditable(bool isEditable);
    void bringUp();
    void beginWaiting();
    void look();
    void endWait();
    void beginEditing();
    void tabChanged(int tab);
    bool mayConfirm();
    PrefsEdits::Changes commitSettings(bool isAsking);
    void askAboutLaunch();
    void applyLaunch();
    void closeWindow();

    const Program m_program;
    PrefsEdits m_edits;
    State m_state = State::Closed;
    bool m_isQuitting = false;  // the program is about to end
    QTimer m_looks;
    QElapsedTimer m_waiting;
    WaitSheet* m_sheet = nullptr;  // while there is something to wait for
    QTabWidget* m_tabs;
    SourcesPage* m_sources;
    FiltersPage* m_filters;
    SearchPage* m_search;
    GeneralPage* m_general;
    PrivacyPage* m_privacy;
    QPushButton* m_confirm;
};

}  // namespace siftwell
