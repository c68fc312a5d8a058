#include "app/SingleInstance.h"

#include "app/WriterLock.h"
#include "app/bus/RunningCopy.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kTimeToQuit(5000);  // 300 ticks
constexpr milliseconds kBetweenLooks(2000);
constexpr int kLooks = 5;

OtherCopy askWhichCopy(Alerts& alerts, OtherCopy safeAnswer) {
    const std::size_t answer = alerts.ask(
        {.title = _("Siftwell is already running."),
         .text = _("Only one copy of Siftwell can be running at any given time.  You may choose to "
                   "use this copy or use the one that's already running."),
         .buttons = {_("Use this copy"), _("Use the copy that's already running")}},
        safeAnswer == OtherCopy::Replaced ? 0 : 1);
    return answer == 0 ? OtherCopy::Replaced : OtherCopy::LeftAlone;
}

void sayThatItStays(Alerts& alerts) {
    alerts.ask({.title = _("The other running copy of Siftwell wouldn't quit."),
                .text = _("I'm sorry, but the other copy of Siftwell did not quit when I told it "
                          "to.  Please bring it to the front and quit it manually.  If it's stuck, "
                          "choose Force Quit from the Apple menu.\n\nOnce you've done that, launch "
                          "this copy of Siftwell again."),
                .buttons = {_("OK")},
                .isCritical = true},
               0);
}

// Asks the copy that has the lock to end; whether it did.
bool endOther(const Paths& paths, RunLoop& mainLoop, NotificationCentre& centre) {
    const auto isGone = [&paths] { return WriterLock::holder(paths.stateFolder) == 0; };
    const auto copy = RunningCopy::connect(centre, WriterLock::holder(paths.stateFolder));
    if (!copy) return isGone();
    if (!(*copy)->quit().isOk()) return isGone();
    (*copy)->waitUntilGone(kTimeToQuit);
    for (int look = 0; look < kLooks && !isGone(); ++look) {
        mainLoop.turnUntil(isGone, kBetweenLooks);
    }
    return isGone();
}

}  // namespace

Result<std::unique_ptr<Session>> openOnlySession(const Paths& paths, RunLoop& mainLoop,
                                                 NotificationCentre& centre, Alerts& alerts,
                                                 OtherCopy otherCopy) {
    auto session = Session::open(paths, Session::Purpose::Writing, mainLoop, &centre);
    if (session || session.status().code() != StatusCode::Busy) return session;
    if (askWhichCopy(alerts, otherCopy) == OtherCopy::LeftAlone) return session;
    if (!endOther(paths, mainLoop, centre)) {
        sayThatItStays(alerts);
        return session;
    }
    return Session::open(paths, Session::Purpose::Writing, mainLoop, &centre);
}

}  // namespace siftwell
