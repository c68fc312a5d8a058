#include "ui/preview/engine/PreviewInterceptor.h"

namespace siftwell {

namespace {

using Info = QWebEngineUrlRequestInfo;

// Nothing is fetched for these.
bool holdsItsOwnBytes(const QUrl& url) {
    return url.scheme() == QLatin1String("data") || url.scheme() == QLatin1String("blob");
}

bool isPicture(const Info& info) {
    return info.resourceType() == Info::ResourceTypeImage && info.requestMethod() == "GET";
}

}  // namespace

bool isOfTheWeb(const QUrl& url) {
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

bool PreviewInterceptor::isAllowed(const Info& info) const {
    const QUrl url = info.requestUrl();
    if (holdsItsOwnBytes(url)) return true;
    if (isPicture(info) && !m_rights.areImagesShown) return false;
    if (m_copy == nullptr) return isOfTheWeb(url);
    return url.scheme() == QLatin1String(PreviewBytesHandler::scheme()) ||
           (m_rights.mayCopyAskTheWeb && isPicture(info) && isOfTheWeb(url));
}

void PreviewInterceptor::interceptRequest(Info& info) {
    const QUrl part = m_copy == nullptr ? QUrl() : m_copy->addressOfPart(info.requestUrl());
    if (!part.isEmpty() && (m_rights.areImagesShown || !isPicture(info)))
        return info.redirect(part);
    if (!isAllowed(info)) info.block(true);
}

}  // namespace siftwell
