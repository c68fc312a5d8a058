// PreviewInterceptor: what a previewed page may ask for.
//
// A page that is shown from a copy gets the parts it was saved with and, where previews show
// pictures and the page is one of the web, pictures of the web; a page that is loaded from its
// address what the web has. Neither gets a file.
//
// Threads: main.
#pragma once

#include <QWebEngineUrlRequestInterceptor>

#include "ui/preview/engine/PreviewScheme.h"

namespace siftwell {

class PreviewInterceptor : public QWebEngineUrlRequestInterceptor {
public:
    // `copy` is null for a page that is loaded from its address; borrowed.
    PreviewInterceptor(const PreviewBytesHandler* copy, const PreviewRights& rights)
        : m_copy(copy), m_rights(rights) {}

    void interceptRequest(QWebEngineUrlRequestInfo& info) override;

private:
    bool isAllowed(const QWebEngineUrlRequestInfo& info) const;

    const PreviewBytesHandler* const m_copy;
    const PreviewRights m_rights;
};

// Whether the address is one of the web.
bool isOfTheWeb(const QUrl& url);

}  // namespace siftwell
