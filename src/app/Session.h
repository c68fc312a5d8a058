// Session: the objects that one run of the program needs around its indexes, in the order in which
// they depend on each other.
//
// Threads: main.
// Errors: as Status; the code tells what stands in the way: Busy another process, everything else
// the files that cannot be used.
#pragma once

#include <memory>
#include <optional>

#include "app/PrefsController.h"
#include "app/WriterLock.h"
#include "base/Clock.h"
#include "base/NetworkReachability.h"
#include "base/NotificationCentre.h"
#include "base/Paths.h"
#include "base/Processes.h"
#include "base/RunLoop.h"
#include "base/SWNotifier.h"
#include "base/Settings.h"
#include "base/Status.h"
#include "index/IndexController.h"
#include "retrieval/CurlLoader.h"
#include "retrieval/DocumentRetriever.h"
#include "retrieval/ProgramExtractor.h"

namespace siftwell {

class Session {
public:
    enum class Purpose {
        Reading,  // changes nothing, and works beside a process that writes
        Writing,  // alone among all processes of the user
    };

    // Tries what will be written before anything is. `mainLoop` outlives the session, and so does
    // `centre`, where the session's notifications are posted; without one it has its own.
    static Result<std::unique_ptr<Session>> open(const Paths& paths, Purpose purpose,
                                                 RunLoop& mainLoop,
                                                 NotificationCentre* centre = nullptr);
    ~Session();

    const Paths& paths() const { return m_paths; }
    RunLoop& mainLoop() { return m_mainLoop; }
    Clock& clock() { return m_clock; }
    Settings& settings() { return *m_settings; }
    PrefsController& preferences() { return *m_preferences; }
    NotificationCentre& centre() { return m_centre; }
    SWNotifier& notifier() { return m_notifier; }

    // Loads the indexes at the first call; whoever wants to see errors of it observes before.
    IndexController& indexes();

    // What loads pages, and what it loads them through; made at the first call.
    DocumentRetriever& retriever();
    URLLoader& network();

    // Loads the indexes, serves the main loop until they are shown, and opens the gate.
    void waitUntilIndexingIsEnabled();

    // Ends what reads files for the index, so that whoever adds them can stop at once.
    void stopExtracting() { m_extractor.stop(); }

    // Ends what is under way, writes and lets go of everything. The first error.
    Status close();

private:
    Session(const Paths& paths, Purpose purpose, RunLoop& mainLoop, NotificationCentre* centre);

    Status prepare();
    Status probeFolders();

    const Paths m_paths;
    const Purpose m_purpose;
    RunLoop& m_mainLoop;
    SystemClock m_clock;
    const std::shared_ptr<RouteReachability> m_network = std::make_shared<RouteReachability>();
    const std::unique_ptr<NotificationCentre> m_ownCentre;  // null when another one is used
    NotificationCentre& m_centre;
    SWNotifier m_notifier;
    SystemProcesses m_processes;
    ProgramExtractor m_extractor{m_processes, m_notifier};
    std::optional<WriterLock> m_lock;
    std::unique_ptr<Settings> m_settings;
    std::optional<PrefsController> m_preferences;
    std::unique_ptr<IndexController> m_indexes;
    std::unique_ptr<CurlLoader> m_loader;
    std::unique_ptr<DocumentRetriever> m_retriever;
};

}  // namespace siftwell
