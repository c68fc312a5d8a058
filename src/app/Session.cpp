#include "app/Session.h"

#include <filesystem>

#include "app/SettingsStartUp.h"
#include "base/Files.h"
#include "base/Translate.h"
#include "retrieval/SecretServiceCredentials.h"

namespace siftwell {

namespace {

Status probe(const std::string& folder) {
    if (Status status = makePrivateFolder(folder); !status.isOk()) return status;
    return probeFolderForWriting(folder);
}

// Whether a file, or a link that leads nowhere, stands in the place of the index folder: that is
// reported by who looks for it.
bool isBlocked(const std::string& folder) {
    std::error_code error;
    return std::filesystem::symlink_status(folder, error).type() !=
               std::filesystem::file_type::not_found &&
           !std::filesystem::is_directory(folder, error);
}

}  // namespace

Session::Session(const Paths& paths, Purpose purpose, RunLoop& mainLoop, NotificationCentre* centre)
    : m_paths(paths),
      m_purpose(purpose),
      m_mainLoop(mainLoop),
      m_ownCentre(centre == nullptr ? std::make_unique<NotificationCentre>(mainLoop) : nullptr),
      m_centre(centre == nullptr ? *m_ownCentre : *centre),
      m_notifier(m_centre, m_clock) {}

Session::~Session() { stopExtracting(); }

Result<std::unique_ptr<Session>> Session::open(const Paths& paths, Purpose purpose,
                                               RunLoop& mainLoop, NotificationCentre* centre) {
    std::unique_ptr<Session> session(new Session(paths, purpose, mainLoop, centre));
    if (Status status = session->prepare(); !status.isOk()) return status;
    return session;
}

Status Session::prepare() {
    if (m_paths.settingsFile.empty() || m_paths.applicationData.empty() ||
        m_paths.stateFolder.empty()) {
        return {StatusCode::NotFound,
                _("Your home folder is not known. Please set the environment variable HOME.")};
    }
    const bool isWriting = m_purpose == Purpose::Writing;
    if (isWriting) {
        auto lock = WriterLock::take(m_paths.stateFolder);
        if (!lock) return lock.status();
        m_lock = *std::move(lock);
        if (Status status = probeFolders(); !status.isOk()) return status;
    }
    auto settings = Settings::open(
        m_paths.settingsFile, isWriting ? Settings::Access::ReadWrite : Settings::Access::ReadOnly,
        m_mainLoop);
    if (!settings) return settings.status();
    m_settings = *std::move(settings);
    m_settings->setSaveErrorHandler(
        [this](const Status& status) { m_notifier.reportError(status.message(), 6, "", ""); });
    m_preferences.emplace(*m_settings);
    SettingsStartUp startUp(*m_settings, *m_preferences, m_centre, m_clock);
    startUp.registerDefaults();
    if (isWriting) startUp.updateDefaultSearchItems();
    return {};
}

Status Session::probeFolders() {
    const std::string settings = folderOf(m_paths.settingsFile);
    const std::string data = m_paths.applicationData + "/Siftwell";
    if (Status status = probe(settings); !status.isOk()) return status;
    return isBlocked(data) ? Status() : probe(data);
}

IndexController& Session::indexes() {
    if (m_indexes == nullptr) {
        const bool isWriting = m_purpose == Purpose::Writing;
        m_indexes = std::make_unique<IndexController>(
            IndexController::Surroundings{m_paths, *m_settings, m_mainLoop, m_centre, m_notifier,
                                          m_clock, *m_network, &m_extractor},
            isWriting ? IndexController::Access::ReadWrite : IndexController::Access::ReadOnly);
    }
    return *m_indexes;
}

URLLoader& Session::network() {
    if (m_loader == nullptr) m_loader = std::make_unique<CurlLoader>();
    return *m_loader;
}

DocumentRetriever& Session::retriever() {
    if (m_retriever == nullptr) {
        m_retriever = std::make_unique<DocumentRetriever>(DocumentRetriever::Surroundings{
            .indexes = indexes(),
            .notifier = m_notifier,
            .centre = m_centre,
            .settings = *m_settings,
            .mainLoop = m_mainLoop,
            .clock = m_clock,
            .network = network(),
            .reachability = m_network,
            // Asked only while protected pages may be read at all.
            .credentials = std::make_shared<SecretServiceCredentials>(
                SecretServiceCredentials::Unlocking::MayAsk)});
    }
    return *m_retriever;
}

void Session::waitUntilIndexingIsEnabled() {
    std::unique_ptr<IndexController>& controller = m_indexes;
    const auto observation = m_centre.observe(
        "SiftwellIndexerProgressDoneNotification", [&controller](const PropertyList& progress) {
            const auto* dictionary = progress.asDictionary();
            if (dictionary != nullptr && stringFor(*dictionary, "source") == "Loader") {
                controller->enableIndexing();
            }
        });
    indexes();
    m_mainLoop.turnUntil([&controller] { return controller->indexingEnabled(); },
                         std::chrono::hours(24));
}

Status Session::close() {
    stopExtracting();
    m_retriever.reset();
    if (m_indexes != nullptr) m_indexes->closeIndex();
    m_mainLoop.turn(std::chrono::milliseconds(0));  // errors of closing are told
    return m_settings->save();
}

}  // namespace siftwell
