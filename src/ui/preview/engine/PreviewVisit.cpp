#include "ui/preview/engine/PreviewVisit.h"

#include <QPointer>
#include <QTimer>
#include <QWebEngineDownloadRequest>
#include <utility>

namespace siftwell {

namespace {

using Failure = PreviewEngine::Failure;

constexpr std::chrono::milliseconds kLongestWayOfDownload(1000);

// The type of a page; "text/xml" as well for one that is shown as text though it is XML.
const auto kScriptOfType = QStringLiteral(
    "document.contentType === 'text/plain' &&"
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
    connect(m_page.get(), &QWebEnginePage::renderProcessTerminated, this,
            [this] { fail(Failure::Other); });
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
            return askForType();
        case QWebEngineLoadingInfo::LoadFailedStatus:
            return fail(failureOf(info), info.errorCode());
        case QWebEngineLoadingInfo::LoadStoppedStatus:  // a download is about to be told of
            QTimer::singleShot(kLongestWayOfDownload, this, [this] { fail(Failure::Other); });
    }
}

void PreviewVisit::askForType() {
    const QPointer<PreviewVisit> self = this;
    m_page->runOwnScript(kScriptOfType, [self](const QVariant& type) {
        if (self) self->end([&] { self->m_events.shown(type.toString()); });
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
