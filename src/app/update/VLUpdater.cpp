#include "app/update/VLUpdater.h"

#include <algorithm>
#include <utility>

#include "app/update/Appcast.h"
#include "base/Log.h"
#include "base/Translate.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::chrono::seconds kLongestLoad(30);
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kMaxDays = 3650;

bool mayBeUsed(const Url& url, VLUpdater::Transport transport) {
    if (url.host().value_or("").empty()) return false;
    if (equalsIgnoringCase(url.scheme(), "https")) return true;
    return transport == VLUpdater::Transport::AlsoPlainOnHost && url.scheme() == "http" &&
           url.host() == "127.0.0.1";
}

std::optional<Url> feedAt(std::string_view address, VLUpdater::Transport transport) {
    auto url = address.empty() ? std::nullopt : Url::parse(address);
    if (url && mayBeUsed(*url, transport)) return url;
    if (!address.empty()) writeLog("The address of the update feed cannot be used.");
    return std::nullopt;
}

}  // namespace

// Gathers the feed on the loader's thread and hands it over on the main thread, once.
class VLUpdater::FeedLoad : public URLLoadClient, public std::enable_shared_from_this<FeedLoad> {
public:
    FeedLoad(std::weak_ptr<VLUpdater*> updater, RunLoop& mainLoop)
        : m_updater(std::move(updater)), m_mainLoop(mainLoop) {}

    // The address is built in: who answers there has no say in where else to look.
    bool willSendRequest(const URLResponse&) override {
        finish(Status(StatusCode::Failed, "The feed was redirected."));
        return false;
    }
    bool didReceiveResponse(const URLResponse& response) override {
        constexpr int kFound = 200;
        if (response.statusCode != kFound) {
            finish(Status(StatusCode::Failed, "The server answered with status " +
                                                  std::to_string(response.statusCode.value_or(0)) +
                                                  "."));
        } else if (response.expectedContentLength.value_or(0) >
                   static_cast<std::int64_t>(kMaxAppcastBytes)) {
            finish(tooLarge());
        }
        return !m_isFinished;
    }
    bool didReceiveAuthenticationChallenge() override { return false; }
    Appetite didReceiveData(std::string_view bytes) override {
        if (m_feed.size() + bytes.size() > kMaxAppcastBytes) finish(tooLarge());
        if (m_isFinished) return Appetite::NoMore;
        m_feed += bytes;
        return Appetite::More;
    }
    void didFailWithError(int code) override {
        finish(Status(StatusCode::Failed,
                      "The feed could not be loaded (error " + std::to_string(code) + ")."));
    }
    void didFinishLoading() override { finish(std::move(m_feed)); }

private:
    static Status tooLarge() { return {StatusCode::TooLarge, "The feed is too large."}; }

    void finish(Result<std::string> feed) {
        if (std::exchange(m_isFinished, true)) return;
        m_mainLoop.post([load = shared_from_this(), feed = std::move(feed)] {
            if (const auto updater = load->m_updater.lock()) (*updater)->loadEnded(*load, feed);
        });
    }

    const std::weak_ptr<VLUpdater*> m_updater;  // asked on the main thread
    RunLoop& m_mainLoop;
    std::string m_feed;
    bool m_isFinished = false;
};

VLUpdater::VLUpdater(const Surroundings& surroundings, std::string_view feedAddress,
                     Transport transport)
    : m_surroundings(surroundings), m_feed(feedAt(feedAddress, transport)) {
    autoConfigure();
}

VLUpdater::~VLUpdater() {
    if (m_load != nullptr) breakOff();
}

void VLUpdater::configure(const std::string& productCode, const std::string& version) {
    m_productCode = productCode;
    m_versionText = version;
    m_version = VersionNumber::parse(version);
}

void VLUpdater::setCheckInterval(std::chrono::seconds interval, std::chrono::seconds minimum) {
    m_interval = std::max(interval, minimum);
}

void VLUpdater::autoConfigure() {
    const std::int64_t days = m_surroundings.settings.integer("UpdateCheckInterval");
    setCheckInterval(
        std::chrono::seconds(std::clamp<std::int64_t>(days, 0, kMaxDays) * kSecondsPerDay));
}

void VLUpdater::checkForUpdate() {
    if (isDue()) checkNow();
}

void VLUpdater::checkNow(Told told) {
    if (!canCheck()) return;
    if (told) m_told = std::move(told);
    if (m_load == nullptr) start();
}

// A last look that lies ahead is one from before the clock was set.
bool VLUpdater::isDue() const {
    const Settings& settings = m_surroundings.settings;
    if (!settings.boolean("CheckForUpdates")) return false;
    const Date last = settings.date("LastUpdateCheck").value_or(Date::distantPast());
    const double since = m_surroundings.clock.now() - last;
    return since < 0 || since >= static_cast<double>(m_interval.count());
}

void VLUpdater::start() {
    m_surroundings.settings.set("LastUpdateCheck", m_surroundings.clock.now());
    URLRequest request{.url = *m_feed};
    request.timeoutInterval = kLongestLoad;
    request.allHTTPHeaderFields["User-Agent"] =
        "Siftwell/" + m_versionText + " (" + m_productCode + ")";
    m_load = std::make_shared<FeedLoad>(m_self, m_surroundings.mainLoop);
    m_loadID = m_surroundings.loader.start(request, m_load);
    m_timer = m_surroundings.mainLoop.startTimer(kLongestLoad, [this] {
        breakOff();
        conclude(Status(StatusCode::Failed, "The feed took too long."));
    });
}

void VLUpdater::breakOff() {
    m_surroundings.mainLoop.cancelTimer(m_timer);
    m_surroundings.loader.cancel(m_loadID);
    m_load.reset();
}

void VLUpdater::loadEnded(const FeedLoad& load, const Result<std::string>& feed) {
    if (m_load.get() != &load) return;  // it was broken off meanwhile
    m_surroundings.mainLoop.cancelTimer(m_timer);
    m_load.reset();
    conclude(feed);
}

void VLUpdater::conclude(const Result<std::string>& feed) {
    const Result<bool> isThereNewer = judge(feed);
    if (!isThereNewer) {
        writeLog(filledIn("Update check failed: %@", isThereNewer.status().message()));
    }
    if (const Told told = std::exchange(m_told, {})) told(isThereNewer);
}

Result<bool> VLUpdater::judge(const Result<std::string>& feed) {
    const auto best = feed ? bestItemOfAppcast(*feed, *m_feed)
                           : Result<std::optional<AppcastItem>>(feed.status());
    if (!best) return best.status();
    if (!best->has_value() || (*best)->version <= *m_version) return false;
    const AppcastItem& item = **best;
    const std::string url = item.link ? item.link->absoluteString() : "";
    writeLog(filledIn("Version %@ is available: %@", item.versionText, url));
    m_surroundings.centre.postMainThreadNotificationName(
        "SiftwellUpdateAvailableNotification",
        PropertyList::Dictionary{
            {"version", item.versionText}, {"url", url}, {"notes", item.notes}});
    return true;
}

}  // namespace siftwell
