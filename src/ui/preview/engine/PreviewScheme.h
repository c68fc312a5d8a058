// PreviewScheme: the scheme under which the web engine gets the pages that are not loaded from
// their addresses: "siftwell-preview://page/" is the page, "siftwell-preview://part7/" one of the
// parts it was saved with. Each has a host, and so an origin, of its own: scripts of a frame do not
// reach into the page.
//
// Threads: main.
#pragma once

#include <QHash>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

#include "ui/preview/PreviewEngine.h"

namespace siftwell {

// Before the engine is used.
void registerPreviewScheme();

// The bytes of one page.
class PreviewBytesHandler : public QWebEngineUrlSchemeHandler {
public:
    explicit PreviewBytesHandler(PreviewTarget target);

    static QByteArray scheme();
    static QUrl pageAddress();
    // Where the part with that address is to be had; an empty address when there is none.
    QUrl addressOfPart(const QUrl& url) const;

    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    const PreviewPart* partAt(const QUrl& url) const;

    const PreviewTarget m_target;
    QHash<QUrl, qsizetype> m_parts;  // indexes, by address without fragment
};

}  // namespace siftwell
