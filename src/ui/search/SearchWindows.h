// SearchWindows: the search window and the small one, with the search that both show; each is made
// when it is first wanted.
//
// Threads: main. It goes before the session closes.
#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "ui/Program.h"
#include "ui/desktop/FrontProgram.h"
#include "ui/search/ActiveSearch.h"
#include "ui/search/MiniSearchWindow.h"
#include "ui/search/SearchWindow.h"

namespace siftwell {

class SearchWindows : public QObject {
    Q_OBJECT

public:
    explicit SearchWindows(const Program& program, MakePreviewPane makePreview = {});
    ~SearchWindows() override;

    void show();
    void showMini();
    // It comes to the front, or goes.
    void toggleMini();
    Status searchFor(const std::string& text);
    // What "ShowWindowOnActivate" asks for when the program comes to the front.
    void applicationDidBecomeActive(bool isAnyWindowOpen);

    // Null until it is wanted.
    SearchWindow* mainWindow() const { return m_main.get(); }
    MiniSearchWindow* miniWindow() const { return m_mini.get(); }

private:
    ActiveSearch& search();
    SearchWindow& main();
    MiniSearchWindow& mini();
    void returnToMain();
    void followActivity(Qt::ApplicationState state);
    void takeSettings();
    void followFrontProgram();

    const Program m_program;
    const MakePreviewPane m_makePreview;
    bool m_isHiddenWithProgram = false;
    bool m_isHiddenUntilBrowser = false;
    std::unique_ptr<FrontProgram> m_front;  // while it matters
    NotificationCentre::Observation m_preferenceChanges;
    std::unique_ptr<ActiveSearch> m_search;
    std::unique_ptr<SearchWindow> m_main;
    std::unique_ptr<MiniSearchWindow> m_mini;
};

}  // namespace siftwell
