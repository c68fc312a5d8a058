#include "ui/search/SearchWindows.h"

#include <QGuiApplication>
#include <utility>

namespace siftwell {

SearchWindows::SearchWindows(const Program& program, MakePreviewPane makePreview)
    : m_program(program), m_makePreview(std::move(makePreview)) {
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) { followActivity(state); });
}

SearchWindows::~SearchWindows() = default;

ActiveSearch& SearchWindows::search() {
    if (m_search == nullptr) {
        m_search = std::make_unique<ActiveSearch>(m_program);
        connect(m_search.get(), &ActiveSearch::windowWanted, this, [this](const QString& text) {
            if (m_main != nullptr) return;  // it does so itself
            main().field().showText(text);
            main().bringUp();
        });
    }
    return *m_search;
}

SearchWindow& SearchWindows::main() {
    if (m_main == nullptr) {
        m_main = std::make_unique<SearchWindow>(m_program, search(), m_makePreview);
    }
    return *m_main;
}

MiniSearchWindow& SearchWindows::mini() {
    if (m_mini == nullptr) {
        m_mini = std::make_unique<MiniSearchWindow>(m_program, search());
        connect(m_mini.get(), &MiniSearchWindow::closed, this, [this] { returnToMain(); });
    }
    return *m_mini;
}

void SearchWindows::show() { main().bringUp(); }

void SearchWindows::showMini() { mini().bringUp(); }

void SearchWindows::toggleMini() {
    if (mini().isVisible() && mini().isActiveWindow()) return mini().hide();
    showMini();
}

Status SearchWindows::searchFor(const std::string& text) { return search().searchService(text); }

// What was searched for in the small window is not what stands in the main one's field.
void SearchWindows::returnToMain() {
    if (m_main != nullptr && m_main->isVisible()) return search().performSearch();
    search().controller().cancelSearch();
}

void SearchWindows::applicationDidBecomeActive(bool isAnyWindowOpen) {
    if (!m_program.session.settings().boolean("ShowWindowOnActivate")) return;
    if (!isAnyWindowOpen) return show();
    if (m_main != nullptr && m_main->isMinimized()) m_main->bringUp();
}

void SearchWindows::followActivity(Qt::ApplicationState state) {
    if (m_main == nullptr || !m_program.session.settings().boolean("SearchPaletteHides")) return;
    if (state == Qt::ApplicationInactive && m_main->isVisible()) {
        m_isHiddenWithProgram = true;
        m_main->hide();
    } else if (state == Qt::ApplicationActive && std::exchange(m_isHiddenWithProgram, false)) {
        m_main->show();
    }
}

}  // namespace siftwell
