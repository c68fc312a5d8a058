#include "ui/search/SearchWindows.h"

#include <QApplication>
#include <QWindow>
#include <utility>

namespace siftwell {

namespace {

// The keyboard stays where it is. The widget's attribute alone counts only when its window is made.
void showUnfocused(QWidget& window) {
    constexpr const char* kUnfocused = "_q_showWithoutActivating";
    if (window.windowHandle() != nullptr) window.windowHandle()->setProperty(kUnfocused, true);
    window.show();
    window.windowHandle()->setProperty(kUnfocused, {});
}

}  // namespace

SearchWindows::SearchWindows(const Program& program, MakePreviewPane makePreview)
    : m_program(program), m_makePreview(std::move(makePreview)) {
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) { followActivity(state); });
    m_preferenceChanges = program.session.centre().observe(
        "SiftwellPreferenceChangeNotification", [this](const PropertyList&) { takeSettings(); });
    takeSettings();
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
    if (m_main == nullptr || !m_main->isVisible()) return;
    if (m_main->isMinimized()) m_main->bringUp();
    m_main->field().setFocus();
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

void SearchWindows::takeSettings() {
    const bool isWanted = FrontProgram::isPossible() &&
                          m_program.session.settings().boolean("SearchPaletteOnlyInBrowser");
    if (isWanted == (m_front != nullptr)) return;
    m_front.reset();
    if (!isWanted) return;
    m_front = std::make_unique<FrontProgram>();
    connect(m_front.get(), &FrontProgram::changed, this, &SearchWindows::followFrontProgram);
}

// Between two windows nobody is in front; that changes nothing.
void SearchWindows::followFrontProgram() {
    if (m_main == nullptr || QApplication::activeModalWidget() != nullptr) return;
    const FrontProgram::Kind kind = m_front->kind();
    if (kind == FrontProgram::Kind::Other && m_main->isVisible()) {
        m_isHiddenUntilBrowser = true;
        m_main->hide();
    } else if (kind == FrontProgram::Kind::Browser &&
               std::exchange(m_isHiddenUntilBrowser, false)) {
        showUnfocused(*m_main);
    }
}

}  // namespace siftwell
