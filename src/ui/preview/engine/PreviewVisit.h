// PreviewVisit: one page in the preview, with all that the web engine has of it. Nothing is left of
// it when the next one comes: every page gets a profile of its own.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QWebEngineLoadingInfo>
#include <memory>

#include "ui/preview/engine/PreviewInterceptor.h"
#include "ui/preview/engine/PreviewPage.h"
#include "ui/preview/engine/PreviewProfile.h"

namespace siftwell {

class PreviewVisit : public QObject {
    Q_OBJECT

public:
    PreviewVisit(const PreviewTarget& target, const PreviewRights& rights,
                 PreviewEngine::Events events);
    ~PreviewVisit() override;

    PreviewPage& page() { return *m_page; }

private:
    void watch();
    void handleLoading(const QWebEngineLoadingInfo& info);
    void askForType(bool isLoaded);
    // Does the one that is the visit's end, and none after it.
    void end(const std::function<void()>& tell);
    void fail(PreviewEngine::Failure why, int httpStatus = 0);

    const PreviewEngine::Events m_events;
    std::unique_ptr<PreviewBytesHandler> m_copy;  // null for a page of the web
    PreviewInterceptor m_interceptor;
    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<PreviewPage> m_page;  // goes before its profile
    bool m_hasEnded = false;
};

}  // namespace siftwell
