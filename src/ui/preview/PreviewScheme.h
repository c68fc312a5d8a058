// PreviewScheme: the scheme under which the web engine gets the pages that are not loaded from
// their addresses: "siftwell-preview://page/" is the page, "siftwell-preview://page/7" one of the
// parts it was saved with.
//
// Threads: main.
#pragma once

#include <QHash>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>
#include <memory>

#include "app/PreviewDocument.h"

namespace siftwell {

// Before the QApplication is made.
void registerPreviewScheme();

// The bytes of one page.
class PreviewBytesHandler : public QWebEngineUrlSchemeHandler {
public:
    explicit PreviewBytesHandler(PreviewDocument document);

    static QByteArray scheme();
    static QUrl pageAddress();
    // Where the part with that address is to be had; an empty address when there is none.
    QUrl addressOfPart(const QUrl& url) const;

    // The address that the page has in the world.
    const QUrl& realAddress() const { return m_realAddress; }

    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    const WebResource* resourceAt(const QString& path) const;

    const PreviewDocument m_document;
    const QUrl m_realAddress;
    QHash<QUrl, int> m_parts;  // indexes, by address without fragment
};

// An address as Qt has it.
QUrl toQUrl(const Url& url);

}  // namespace siftwell
