// VLUpdater looks for a newer version of the program, and tells the user; it installs nothing.
//
// At most once in each interval a feed of releases is read. Whatever comes of it, the next look is
// due when the interval is over again. A newer version is told by
// "SiftwellUpdateAvailableNotification" with "version", "url" ("" when there is none) and "notes",
// and by a line in the log. Settings: "CheckForUpdates" (whether to look at all),
// "UpdateCheckInterval" (days), "LastUpdateCheck".
//
// Threads: main, which never waits. Errors: go to the log. The feed is hostile: what is large,
// slow, redirected or malformed is given up.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "app/update/VersionNumber.h"
#include "base/Clock.h"
#include "base/NotificationCentre.h"
#include "base/RunLoop.h"
#include "base/Settings.h"
#include "base/Status.h"
#include "retrieval/URLLoader.h"

namespace siftwell {

class VLUpdater {
public:
    // Outlives the updater; the main loop outlives the loader, too.
    struct Surroundings {
        Settings& settings;
        NotificationCentre& centre;
        RunLoop& mainLoop;
        const Clock& clock;
        URLLoader& loader;
    };
    enum class Transport {
        Secure,           // https
        AlsoPlainOnHost,  // and http from 127.0.0.1, for tests
    };

    // What came of a look: whether there is a newer version, or why nobody knows.
    using Told = std::function<void(const Result<bool>& isThereNewer)>;

    // Without an address, or with one that may not be used, it never looks.
    VLUpdater(const Surroundings& surroundings, std::string_view feedAddress,
              Transport transport = Transport::Secure);
    ~VLUpdater();  // breaks off what is under way

    // The product and its version, which the feed's are compared with and its server is told.
    void configure(const std::string& productCode, const std::string& version);
    // Looks are at least that far apart.
    void setCheckInterval(std::chrono::seconds interval,
                          std::chrono::seconds minimum = std::chrono::seconds(60));
    // The interval that the settings ask for.
    void autoConfigure();

    // Looks when that is due. Returns at once.
    void checkForUpdate();
    // Whether there is an address to look at.
    bool canCheck() const { return m_feed && m_version; }
    // Looks whether that is due or not, and tells who asked last, if there is anything to look at.
    void checkNow(Told told = {});
    bool isChecking() const { return m_load != nullptr; }

private:
    class FeedLoad;

    bool isDue() const;
    void start();
    void loadEnded(const FeedLoad& load, const Result<std::string>& feed);
    void breakOff();
    void conclude(const Result<std::string>& feed);
    Result<bool> judge(const Result<std::string>& feed);

    const Surroundings m_surroundings;
    const std::optional<Url> m_feed;
    std::string m_productCode;
    std::string m_versionText;
    std::optional<VersionNumber> m_version;
    std::chrono::seconds m_interval;

    std::shared_ptr<FeedLoad> m_load;  // while one is under way
    URLLoader::LoadID m_loadID = 0;
    RunLoop::TimerID m_timer = 0;
    Told m_told;

    // Lets an end that is posted find out that the updater is gone.
    std::shared_ptr<VLUpdater*> m_self = std::make_shared<VLUpdater*>(this);
};

}  // namespace siftwell
