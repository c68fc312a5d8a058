#include "ui/preview/engine/PreviewScheme.h"

#include <QBuffer>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <utility>

namespace siftwell {

namespace {

constexpr QLatin1String kPart("part");  // a number alone would be read as one of a network address

}  // namespace

void registerPreviewScheme() {
    QWebEngineUrlScheme scheme(PreviewBytesHandler::scheme());
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags({});
    QWebEngineUrlScheme::registerScheme(scheme);
}

PreviewBytesHandler::PreviewBytesHandler(PreviewTarget target) : m_target(std::move(target)) {
    for (qsizetype i = 0; i < m_target.parts.size(); ++i) {
        m_parts.insert(m_target.parts[i].address.adjusted(QUrl::RemoveFragment), i);
    }
}

QByteArray PreviewBytesHandler::scheme() { return QByteArrayLiteral("siftwell-preview"); }

QUrl PreviewBytesHandler::pageAddress() { return QUrl(QStringLiteral("siftwell-preview://page/")); }

QUrl PreviewBytesHandler::addressOfPart(const QUrl& url) const {
    const auto part = m_parts.constFind(url.adjusted(QUrl::RemoveFragment));
    if (part == m_parts.cend()) return {};
    QUrl address = pageAddress();
    address.setHost(kPart + QString::number(*part));
    return address;
}

const PreviewPart* PreviewBytesHandler::partAt(const QUrl& url) const {
    if (url == pageAddress()) return &m_target.page;
    const QString host = url.host();
    bool isNumber = false;
    const qsizetype part = host.mid(kPart.size()).toUInt(&isNumber);
    return isNumber && host.startsWith(kPart) && url.path() == QLatin1String("/") &&
                   part < m_target.parts.size()
               ? &m_target.parts[part]
               : nullptr;
}

void PreviewBytesHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const PreviewPart* const part = partAt(job->requestUrl());
    if (part == nullptr || job->requestMethod() != "GET") {
        return job->fail(QWebEngineUrlRequestJob::UrlNotFound);
    }
    auto* const bytes = new QBuffer(job);
    bytes->setData(part->bytes);
    bytes->open(QIODevice::ReadOnly);
    job->reply(part->contentType, bytes);
}

}  // namespace siftwell
