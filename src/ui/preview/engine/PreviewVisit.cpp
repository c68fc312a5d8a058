#include "ui/preview/engine/PreviewVisit.h"

#include <QPointer>
#include <QTimer>
#include <QWebEngineDownloadRequest>
#include <utility>

namespace siftwell {

namespace {

using Failure = PreviewEngine::Failure;

constexpr std::chrono::milliseconds kLongestWayOfDownload(1000);

// One picture that never comes is not to keep the words from being marked.
constexpr std::chrono::milliseconds kPatience(10'000);

// The type of a page, "" while there is not all of its markup; "text/xml" as well for one that is
// shown as text though it is XML.
const auto kScriptOfType = QStringLiteral(
    "document.readyState === 'loading' || location.protocol === 'about:' ? '' :"
    " document.contentType === 'text/plain' &&"
    " /^\\s*<(\\?xml|rss|feed|rdf)/i.test(document.body.textContent.slice(0, 200))"
    " ? 'text/xml' : document.contentType");

Failure failureOf(const QWebEngineLoadingInfo& info) {
    switch (info.errorDomain()) {
        case QWebEngineLoadingInfo::ConnectionErrorDomain:
        case QWebEngineLoadingInfo::DnsErrorDomain:
            return Failure::Unreachable;
        case QWebEngineLoadingInfo::CertificateErrorDomain:
            return Failure::Insecure;
        case QWebEngineLoadingInfo::HttpStatusCodeDomain:
            return Failure::Answered;
        default:
            return Failure::Other;
    }
}

}  // namespace

PreviewVisit::PreviewVisit(const PreviewTarget& target, const PreviewRights& rights,
                           PreviewEngine::Events events)
    : m_events(std::move(events)),
      m_copy(target.isCopy ? std::make_unique<PreviewBytesHandler>(target) : nullptr),
      m_interceptor(m_copy.get(), rights),
      m_profile(makePreviewProfile(rights)) {
    m_profile->setUrlRequestInterceptor(&m_interceptor);
    if (m_copy) m_profile->installUrlSchemeHandler(PreviewBytesHandler::scheme(), m_copy.get());
    m_page = std::make_unique<PreviewPage>(m_profile.get(), m_copy.get(), target.address);
    watch();
}

PreviewVisit::~PreviewVisit() = default;

void PreviewVisit::watch() {
    connect(m_page.get(), &QWebEnginePage::loadingChanged, this, &PreviewVisit::handleLoading);
    connect(m_page.get(), &PreviewPage::linkClicked, this, m_events.linkClicked);
    connect(m_page.get(), &QWebEnginePage::renderProcessTerminated, this, [this] {
        m_hasEnded = true;  // a page that was shown is gone, too
        m_events.failed(Failure::Other, 0);
    });
    QTimer::singleShot(kPatience, this, [this] { askForType(false); });
    connect(m_profile.get(), &QWebEngineProfile::downloadRequested, this,
            [this](QWebEngineDownloadRequest* download) {
                const QString type = download->mimeType();
                download->cancel();
                end([&] { m_events.isDownload(type); });
            });
}

void PreviewVisit::handleLoading(const QWebEngineLoadingInfo& info) {
    switch (info.status()) {
        case QWebEngineLoadingInfo::LoadStartedStatus:
            return;
        case QWebEngineLoadingInfo::LoadSucceededStatus:
            return askForType(true);
        case QWebEngineLoadingInfo::LoadFailedStatus:
            return fail(failureOf(info), info.errorCode());
        case QWebEngineLoadingInfo::LoadStoppedStatus:  // a download is about to be told of
            QTimer::singleShot(kLongestWayOfDownload, this, [this] { fail(Failure::Other); });
    }
}

void PreviewVisit::askForType(bool isLoaded) {
    if (m_hasEnded) return;
    const QPointer<PreviewVisit> self = this;
    m_page->runOwnScript(kScriptOfType, [self, isLoaded](const QVariant& type) {
        if (!self || (!isLoaded && type.toString().isEmpty())) return;
        self->end([&] { self->m_events.shown(type.toString()); });
    });
}

void PreviewVisit::fail(Failure why, int httpStatus) {
    end([&] { m_events.failed(why, httpStatus); });
}

void PreviewVisit::end(const std::function<void()>& tell) {
    if (std::exchange(m_hasEnded, true)) return;
    m_page->stay();
    tell();
}

}  // namespace siftwell
