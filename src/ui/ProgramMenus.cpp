#include "ui/ProgramMenus.h"

#include <QMenu>
#include <QMenuBar>
#include <functional>

#include "ui/Commands.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

// A menu of the bar while it is filled.
class MenuMaker {
public:
    MenuMaker(QMenuBar& bar, QAction* before, const QString& title)
        : m_menu(new QMenu(title, &bar)) {
        bar.insertMenu(before, m_menu);
    }

    QAction& add(const char* english, const QKeySequence& keys, std::function<void()> command) {
        QAction* action = m_menu->addAction(q_(english));
        action->setShortcut(keys);
        QObject::connect(action, &QAction::triggered, m_menu, std::move(command));
        return *action;
    }
    void separate() { m_menu->addSeparator(); }

private:
    QMenu* m_menu;  // the bar's
};

void addProgram(QMenuBar& bar, Commands& commands) {
    QAction* first = bar.actions().isEmpty() ? nullptr : bar.actions().front();
    MenuMaker menu(bar, first, q_("Sif&twell"));
    menu.add(N_("&Add to the Index…"), QKeySequence::New, [&] { commands.addToIndex(); });
    menu.add(N_("Find &Browsers…"), {}, [&] { commands.showFirstRun(); });
    menu.separate();
    QAction& preferences = menu.add(N_("&Preferences…"), {Qt::CTRL | Qt::Key_Comma},
                                    [&] { commands.showPreferences(); });
    preferences.setMenuRole(QAction::PreferencesRole);
    menu.separate();
    menu.add(N_("&Quit"), {Qt::CTRL | Qt::Key_Q}, [&] { commands.quit(); })
        .setMenuRole(QAction::QuitRole);
}

void addIndex(QMenuBar& bar, Commands& commands) {
    QWidget* window = bar.window();
    MenuMaker menu(bar, nullptr, q_("&Index"));
    menu.add(N_("&Scan Now"), {Qt::Key_F5}, [&] { commands.scanNow(); });
    menu.separate();
    menu.add(N_("Apply &Filters"), {}, [&commands, window] { commands.applyFilters(window); });
    menu.add(N_("&Compact"), {}, [&commands, window] { commands.compactIndex(window); });
    menu.add(N_("&Rebuild…"), {}, [&commands, window] { commands.rebuildIndex(window); });
    menu.add(N_("C&lear…"), {}, [&commands, window] { commands.clearIndex(window); });
    menu.separate();
    menu.add(N_("Write &Addresses to a File…"), {},
             [&commands, window] { commands.dumpIndex(window, false); });
    menu.add(N_("Write Addresses and &Words to a File…"), {},
             [&commands, window] { commands.dumpIndex(window, true); });
}

void addWindows(QMenuBar& bar, Commands& commands) {
    QWidget* window = bar.window();
    MenuMaker menu(bar, nullptr, q_("&Window"));
    menu.add(N_("&Search"), {Qt::CTRL | Qt::Key_0}, [&] { commands.showSearchWindow(); });
    menu.add(N_("&Mini Search"), {Qt::CTRL | Qt::Key_M}, [&] { commands.showMiniSearch(); });
    menu.add(N_("&Index Status"), {Qt::CTRL | Qt::SHIFT | Qt::Key_I},
             [&] { commands.showIndexStatus(); });
    menu.add(N_("&Errors"), {Qt::CTRL | Qt::Key_E}, [&] { commands.showErrors(); });
    menu.separate();
    menu.add(N_("&Close Window"), QKeySequence::Close, [window] { window->close(); });
}

void addHelp(QMenuBar& bar, Commands& commands) {
    MenuMaker menu(bar, nullptr, q_("&Help"));
    menu.add(N_("Siftwell &Help"), QKeySequence::HelpContents, [&] { commands.showHelp(); });
    menu.add(N_("Send &Feedback"), {}, [&] { commands.goToURL(0); });
    menu.add(N_("&Support"), {}, [&] { commands.goToURL(1); });
    menu.separate();
    menu.add(N_("&About Siftwell"), {}, [&] { commands.showAbout(); })
        .setMenuRole(QAction::AboutRole);
}

}  // namespace

void addProgramMenusTo(QMenuBar& menus, Commands& commands) {
    addProgram(menus, commands);
    addIndex(menus, commands);
    addWindows(menus, commands);
    addHelp(menus, commands);
}

}  // namespace siftwell
