#include "ui/preview/PreviewScheme.h"

#include <QBuffer>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <utility>

namespace siftwell {

namespace {

// The document's own bytes, which outlive every request of the page.
QByteArray borrowed(const std::string& bytes) {
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QByteArray contentType(const WebResource& resource) {
    QByteArray type = QByteArray::fromStdString(resource.mimeType.value_or("text/html"));
    if (resource.textEncodingName) {
        type += "; charset=" + QByteArray::fromStdString(*resource.textEncodingName);
    }
    return type;
}

}  // namespace

void registerPreviewScheme() {
    QWebEngineUrlScheme scheme(PreviewBytesHandler::scheme());
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    scheme.setFlags({});
    QWebEngineUrlScheme::registerScheme(scheme);
}

PreviewBytesHandler::PreviewBytesHandler(PreviewDocument document)
    : m_document(std::move(document)), m_realAddress(toQUrl(m_document.page.url)) {
    for (std::size_t i = 0; i < m_document.parts.size(); ++i) {
        const QUrl address = toQUrl(m_document.parts[i].url).adjusted(QUrl::RemoveFragment);
        m_parts.insert(address, static_cast<int>(i));
    }
}

QByteArray PreviewBytesHandler::scheme() { return QByteArrayLiteral("siftwell-preview"); }

QUrl PreviewBytesHandler::pageAddress() { return QUrl(QStringLiteral("siftwell-preview://page/")); }

QUrl PreviewBytesHandler::addressOfPart(const QUrl& url) const {
    const auto part = m_parts.constFind(url.adjusted(QUrl::RemoveFragment));
    if (part == m_parts.cend()) return {};
    QUrl address = pageAddress();
    address.setPath(QLatin1Char('/') + QString::number(*part));
    return address;
}

const WebResource* PreviewBytesHandler::resourceAt(const QString& path) const {
    if (path == QLatin1String("/")) return &m_document.page;
    bool isNumber = false;
    const std::size_t part = path.mid(1).toUInt(&isNumber);
    return isNumber && part < m_document.parts.size() ? &m_document.parts[part] : nullptr;
}

void PreviewBytesHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const WebResource* resource = resourceAt(job->requestUrl().path());
    if (resource == nullptr || job->requestMethod() != "GET") {
        return job->fail(QWebEngineUrlRequestJob::UrlNotFound);
    }
    auto* const bytes = new QBuffer(job);
    bytes->setData(borrowed(resource->data));
    bytes->open(QIODevice::ReadOnly);
    job->reply(contentType(*resource), bytes);
}

QUrl toQUrl(const Url& url) {
    return QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString()));
}

}  // namespace siftwell
