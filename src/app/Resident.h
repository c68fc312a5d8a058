// Resident: the program that stays: it scans again and again and serves the other processes of its
// user over D-Bus, until it is told to end.
//
// Threads: main.
#pragma once

#include <functional>
#include <memory>

#include "app/AppController.h"
#include "app/Session.h"
#include "app/SingleInstance.h"
#include "app/bus/BusServices.h"
#include "app/bus/LogindSleepWatch.h"
#include "base/Alerts.h"
#include "base/NotificationCentre.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/Status.h"

namespace siftwell {

class Resident {
public:
    // Everything here outlives the object.
    struct Surroundings {
        const Paths& paths;
        RunLoop& mainLoop;
        NotificationCentre& centre;
        Alerts& alerts;
    };

    // Only one copy of the program runs for a user: Busy when another one does and stays.
    static Result<std::unique_ptr<Resident>> start(const Surroundings& surroundings,
                                                   OtherCopy otherCopy);

    ~Resident();

    AppController& controller() { return *m_controller; }
    Session& session() { return *m_session; }

    // Serves the main loop until the program is to end. The first thing done there is
    // `beforeLaunch`, the second is to begin with the scans.
    void run(const std::function<void()>& beforeLaunch = {});
    void quit() { m_surroundings.mainLoop.stop(); }

    // Writes and lets go of everything.
    ProgramEnd close();

private:
    Resident(const Surroundings& surroundings, std::unique_ptr<Session> session);

    void serveOnBus();

    const Surroundings m_surroundings;
    LogindSleepWatch m_sleepWatch;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<AppController> m_controller;
    std::unique_ptr<BusServices> m_services;  // null without a session bus
};

}  // namespace siftwell
