#include "ui/preview/PreviewVisit.h"

#include <QTimer>
#include <QWebEngineDownloadRequest>
#include <utility>

#include "ui/Text.h"

namespace siftwell {

namespace {

QString reasonOf(const QWebEngineLoadingInfo& info) {
    switch (info.errorDomain()) {
        case QWebEngineLoadingInfo::ConnectionErrorDomain:
        case QWebEngineLoadingInfo::DnsErrorDomain:
            return q_("Its server cannot be reached.");
        case QWebEngineLoadingInfo::CertificateErrorDomain:
            return q_("The connection to its server would not be secure.");
        case QWebEngineLoadingInfo::HttpStatusCodeDomain:
            return info.errorCode() == 404 || info.errorCode() == 410
                       ? q_("Its server no longer has it.")
                       : q_("Its server answered with error %1.").arg(info.errorCode());
        default:
            return {};
    }
}

constexpr std::chrono::milliseconds kLongestWayOfDownload(1000);

// The type of a page; "text/xml" as well for one that is shown as text though it is XML.
const QString kScriptOfType = QStringLiteral(
    "document.contentType === 'text/plain' &&"
    " /^\\s*<(\\?xml|rss|feed|rdf)/i.test(document.body.textContent.slice(0, 200))"
    " ? 'text/xml' : document.contentType");

std::unique_ptr<PreviewBytesHandler> handlerOf(PreviewContent& content) {
    auto* const document = std::get_if<PreviewDocument>(&content);
    return document == nullptr ? nullptr
                               : std::make_unique<PreviewBytesHandler>(std::move(*document));
}

}  // namespace

PreviewVisit::PreviewVisit(PreviewContent content, const PreviewRights& rights)
    : m_copy(handlerOf(content)),
      m_interceptor(m_copy.get(), rights.areImagesShown),
      m_profile(makePreviewProfile(rights)) {
    const QUrl address = m_copy ? m_copy->realAddress() : toQUrl(std::get<Url>(content));
    m_profile->setUrlRequestInterceptor(&m_interceptor);
    if (m_copy) m_profile->installUrlSchemeHandler(PreviewBytesHandler::scheme(), m_copy.get());
    m_page = std::make_unique<PreviewPage>(m_profile.get(), m_copy.get(), address);
    watch();
}

PreviewVisit::~PreviewVisit() = default;

void PreviewVisit::watch() {
    connect(m_page.get(), &QWebEnginePage::loadingChanged, this, &PreviewVisit::handleLoading);
    connect(m_page.get(), &PreviewPage::linkClicked, this, &PreviewVisit::linkClicked);
    connect(m_page.get(), &QWebEnginePage::renderProcessTerminated, this,
            [this] { end(Outcome::Failed); });
    connect(m_profile.get(), &QWebEngineProfile::downloadRequested, this,
            [this](QWebEngineDownloadRequest* download) {
                const QString type = download->mimeType();
                download->cancel();
                handleDownload(type);
            });
}

void PreviewVisit::handleLoading(const QWebEngineLoadingInfo& info) {
    switch (info.status()) {
        case QWebEngineLoadingInfo::LoadStartedStatus:
            return;
        case QWebEngineLoadingInfo::LoadSucceededStatus:
            return askForType();
        case QWebEngineLoadingInfo::LoadFailedStatus:
            return end(Outcome::Failed, reasonOf(info));
        case QWebEngineLoadingInfo::LoadStoppedStatus:  // a download is about to be told of
            QTimer::singleShot(kLongestWayOfDownload, this, [this] { end(Outcome::Failed); });
    }
}

void PreviewVisit::handleDownload(const QString& mimeType) {
    const bool isFeed = !m_copy && isFeedType(mimeType.toStdString());
    end(isFeed ? Outcome::OtherFeed : Outcome::Failed,
        q_("It is a file that only another program can show."));
}

void PreviewVisit::askForType() {
    if (m_copy) return end(Outcome::Shown);
    const QPointer<PreviewVisit> self = this;
    m_page->runOwnScript(kScriptOfType, [self](const QVariant& type) {
        if (!self) return;
        self->end(isFeedType(type.toString().toStdString()) ? Outcome::ShownFeed : Outcome::Shown);
    });
}

void PreviewVisit::end(Outcome outcome, const QString& why) {
    if (std::exchange(m_hasEnded, true)) return;
    switch (outcome) {
        case Outcome::Shown:
            return Q_EMIT shown();
        case Outcome::Failed:
            return Q_EMIT failed(why);
        case Outcome::ShownFeed:
            return Q_EMIT feedFound(true);
        case Outcome::OtherFeed:
            return Q_EMIT feedFound(false);
    }
}

}  // namespace siftwell
