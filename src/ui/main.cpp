// Siftwell with its windows.

#include <unistd.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QLibraryInfo>
#include <QTranslator>

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

// Those of the desktop's own texts: buttons, file dialogs, and the direction of writing.
void translate(QApplication& application, QTranslator& translator) {
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (translator.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"), folder)) {
        application.installTranslator(&translator);
    }
}

StartOptions optionsOf(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(q_("Find the pages you saw by the words on them."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption search(QStringLiteral("search"), q_("Search for these words."),
                                    q_("WORDS"));
    const QCommandLineOption background(
        QStringLiteral("background"),
        q_("Show only the windows that stood open when Siftwell ended."));
    parser.addOptions({search, background});
    parser.process(application);
    return {.searchQuery = parser.value(search).toStdString(),
            .isInBackground = parser.isSet(background)};
}

int run(int argc, char** argv) {
    const Paths paths = prepareProgram();
    keepMemorySmall();
    QApplication application(argc, argv);
    QTranslator translator;
    translate(application, translator);
    describe(application);
    const StartOptions options = optionsOf(application);
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
        (*resident)->run([&windows, &options] { windows.open(options); });
    }
    const ProgramEnd end = (*resident)->close();
    if (!end.status.isOk()) writeLog("Ended with an error: " + end.status.message());
    if (end.areThreadsLeft) _exit(0);
    return end.status.isOk() ? 0 : 4;
}

}  // namespace
}  // namespace siftwell

int main(int argc, char** argv) { return siftwell::run(argc, argv); }
