#include "ui/preview/engine/PreviewPage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QWebEngineCertificateError>
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineScript>

#include "ui/preview/engine/PreviewInterceptor.h"

namespace siftwell {

PreviewPage::PreviewPage(QWebEngineProfile* profile, const PreviewBytesHandler* copy,
                         const QUrl& address)
    : QWebEnginePage(profile, nullptr), m_copy(copy), m_address(address) {
    setAudioMuted(true);
    refuseRights();
    connect(this, &QWebEnginePage::newWindowRequested, this,
            [this](QWebEngineNewWindowRequest& request) {
                if (request.isUserInitiated()) Q_EMIT linkClicked(request.requestedUrl());
            });
}

void PreviewPage::refuseRights() {
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl& origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
    connect(this, &QWebEnginePage::certificateError, this,
            [](QWebEngineCertificateError error) { error.rejectCertificate(); });
    connect(this, &QWebEnginePage::fileSystemAccessRequested, this,
            [](QWebEngineFileSystemAccessRequest request) { request.reject(); });
}

void PreviewPage::open() {
    load(m_copy == nullptr ? m_address : PreviewBytesHandler::pageAddress());
}

void PreviewPage::runOwnScript(const QString& script,
                               const std::function<void(const QVariant&)>& take) {
    runJavaScript(script, QWebEngineScript::ApplicationWorld, take);
}

bool PreviewPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) {
    if (type == NavigationTypeLinkClicked) {
        if (!isPlaceInPage(url)) {
            Q_EMIT linkClicked(url);
            return false;
        }
        if (m_copy == nullptr) return true;
        scrollTo(url.fragment(QUrl::FullyDecoded));
        return false;
    }
    if (!isMainFrame) return acceptInFrame(url);
    const bool isOwn = type == NavigationTypeTyped;  // what open() begins
    const bool isOnItsWay = m_copy == nullptr && !m_isThere;
    return isOwn || (isOnItsWay && type == NavigationTypeRedirect && isOfTheWeb(url));
}

bool PreviewPage::acceptInFrame(const QUrl& url) const {
    if (url.scheme() == QLatin1String("about")) return true;
    if (m_copy == nullptr) return isOfTheWeb(url);
    return url.scheme() == QLatin1String(PreviewBytesHandler::scheme()) ||
           !m_copy->addressOfPart(url).isEmpty();
}

bool PreviewPage::isPlaceInPage(const QUrl& url) const {
    const auto isSame = [&url](const QUrl& page) {
        return url.matches(page, QUrl::RemoveFragment);
    };
    return url.hasFragment() && (isSame(m_address) || isSame(this->url()));
}

void PreviewPage::scrollTo(const QString& place) {
    const auto quoted = QJsonDocument(QJsonArray{place}).toJson(QJsonDocument::Compact);
    runOwnScript(QStringLiteral("((name) => {"
                                "const place = document.getElementById(name) ||"
                                " document.getElementsByName(name)[0];"
                                "if (place) place.scrollIntoView();"
                                "else if (name === '' || name === 'top') scrollTo(0, 0);"
                                "})(%1[0])")
                     .arg(QString::fromUtf8(quoted)));
}

}  // namespace siftwell
