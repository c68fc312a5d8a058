// PreviewVisit: one page in the preview, with all that the web engine has of it. Nothing is left of
// it when the next one comes: every page gets a profile of its own.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QWebEngineLoadingInfo>
#include <memory>

#include "ui/preview/PreviewInterceptor.h"
#include "ui/preview/PreviewPage.h"
#include "ui/preview/PreviewProfile.h"

namespace siftwell {

class PreviewVisit : public QObject {
    Q_OBJECT

public:
    PreviewVisit(PreviewContent content, const PreviewRights& rights);
    ~PreviewVisit() override;

    PreviewPage& page() { return *m_page; }

Q_SIGNALS:
    // Each visit ends in one of these. Not to be deleted by whoever is called at once.
    void shown();
    void failed(const QString& why);
    // What is at the address seems to be a feed; whether the engine can show it as it is written.
    void feedFound(bool isShown);

    void linkClicked(const QUrl& url);

private:
    enum class Outcome { Shown, Failed, ShownFeed, OtherFeed };

    void watch();
    void handleLoading(const QWebEngineLoadingInfo& info);
    void handleDownload(const QString& mimeType);
    void askForType();
    void end(Outcome outcome, const QString& why = {});

    std::unique_ptr<PreviewBytesHandler> m_copy;  // null for a page of the web
    PreviewInterceptor m_interceptor;
    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<PreviewPage> m_page;  // goes before its profile
    bool m_hasEnded = false;
};

}  // namespace siftwell
