// WritingCopy: the way to whoever may write for this user: this process, when no other one has the
// lock, or else the running copy.
//
// Threads: main.
// Errors: as Session::open's. Busy, when another process has the lock and cannot be reached.
#pragma once

#include <memory>

#include "app/AppController.h"
#include "app/Driver.h"
#include "base/NotificationCentre.h"
#include "base/Paths.h"
#include "base/RunLoop.h"
#include "base/Settings.h"
#include "base/Status.h"

namespace siftwell {

class WritingCopy {
public:
    // `centre` and `mainLoop` outlive the object; reports of either copy are posted to `centre`.
    static Result<std::unique_ptr<WritingCopy>> reach(const Paths& paths, RunLoop& mainLoop,
                                                      NotificationCentre& centre);
    virtual ~WritingCopy() = default;

    virtual Driver& driver() = 0;
    virtual bool isOtherProcess() const = 0;

    // Within this process: serves the main loop until the indexes are loaded and may be changed.
    virtual void waitUntilIndexingIsEnabled() = 0;

    // Breaks off what is under way in this process, writes and lets go of everything; nothing in
    // the running copy, which goes on.
    virtual ProgramEnd close() = 0;
};

}  // namespace siftwell
