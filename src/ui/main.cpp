// Siftwell with its windows.

#include <unistd.h>

#include <QApplication>

#include "app/ProgramStart.h"
#include "app/Resident.h"
#include "base/Log.h"
#include "base/Memory.h"
#include "ui/QtAlerts.h"
#include "ui/QtDesktop.h"
#include "ui/QtRunLoop.h"
#include "ui/Text.h"
#include "ui/WindowSet.h"
#include "ui/desktop/ApplicationIcon.h"

namespace siftwell {
namespace {

void describe(QApplication& application) {
    QApplication::setApplicationName(QStringLiteral("siftwell"));
    QApplication::setApplicationDisplayName(QStringLiteral("Siftwell"));
    QApplication::setApplicationVersion(QStringLiteral(SIFTWELL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("siftwell"));
    QApplication::setWindowIcon(applicationIcon());
    application.setQuitOnLastWindowClosed(false);
}

int sayWhatIsWrong(const Status& status, Alerts& alerts) {
    if (status.code() == StatusCode::Busy) return 0;  // the other copy is to be used
    alerts.ask({.title = _("Siftwell cannot start."),
                .text = status.message(),
                .buttons = {_("OK")},
                .isCritical = true},
               0);
    return 4;
}

int run(int argc, char** argv) {
    const Paths paths = prepareProgram();
    keepMemorySmall();
    QApplication application(argc, argv);
    describe(application);
    const auto mainLoop = makeQtRunLoop();
    NotificationCentre centre(*mainLoop);
    QtAlerts alerts;
    QtDesktop desktop;
    auto resident =
        Resident::start({.paths = paths, .mainLoop = *mainLoop, .centre = centre, .alerts = alerts},
                        OtherCopy::LeftAlone);
    if (!resident) return sayWhatIsWrong(resident.status(), alerts);
    {
        WindowSet windows({(*resident)->session(), (*resident)->controller(), desktop, alerts});
        windows.open();
        (*resident)->run();
    }
    const ProgramEnd end = (*resident)->close();
    if (!end.status.isOk()) writeLog("Ended with an error: " + end.status.message());
    if (end.areThreadsLeft) _exit(0);
    return end.status.isOk() ? 0 : 4;
}

}  // namespace
}  // namespace siftwell

int main(int argc, char** argv) { return siftwell::run(argc, argv); }
