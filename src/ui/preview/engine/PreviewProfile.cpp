#include "ui/preview/engine/PreviewProfile.h"

#include <QWebEngineNotification>
#include <QWebEngineSettings>

namespace siftwell {

std::unique_ptr<QWebEngineProfile> makePreviewProfile(const PreviewRights& rights) {
    auto profile = std::make_unique<QWebEngineProfile>();
    profile->setHttpCacheType(QWebEngineProfile::MemoryHttpCache);
    profile->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile->setSpellCheckEnabled(false);
    profile->setNotificationPresenter([](const std::unique_ptr<QWebEngineNotification>&) {});

    QWebEngineSettings& settings = *profile->settings();
    settings.setUnknownUrlSchemePolicy(QWebEngineSettings::DisallowUnknownUrlSchemes);
    settings.setAttribute(QWebEngineSettings::AutoLoadImages, rights.areImagesShown);
    settings.setAttribute(QWebEngineSettings::JavascriptEnabled, rights.areScriptsRun);
    settings.setAttribute(QWebEngineSettings::PlaybackRequiresUserGesture, true);
    settings.setAttribute(QWebEngineSettings::WebRTCPublicInterfacesOnly, true);
    for (const auto right : {QWebEngineSettings::JavascriptCanOpenWindows,
                             QWebEngineSettings::JavascriptCanAccessClipboard,
                             QWebEngineSettings::JavascriptCanPaste,
                             QWebEngineSettings::LocalStorageEnabled,
                             QWebEngineSettings::LocalContentCanAccessRemoteUrls,
                             QWebEngineSettings::LocalContentCanAccessFileUrls,
                             QWebEngineSettings::HyperlinkAuditingEnabled,
                             QWebEngineSettings::ErrorPageEnabled,
                             QWebEngineSettings::PluginsEnabled,
                             QWebEngineSettings::FullScreenSupportEnabled,
                             QWebEngineSettings::ScreenCaptureEnabled,
                             QWebEngineSettings::WebGLEnabled,
                             QWebEngineSettings::AutoLoadIconsForPage,
                             QWebEngineSettings::FocusOnNavigationEnabled,
                             QWebEngineSettings::AllowRunningInsecureContent,
                             QWebEngineSettings::AllowGeolocationOnInsecureOrigins,
                             QWebEngineSettings::AllowWindowActivationFromJavaScript,
                             QWebEngineSettings::DnsPrefetchEnabled,
                             QWebEngineSettings::PdfViewerEnabled,
                             QWebEngineSettings::NavigateOnDropEnabled}) {
        settings.setAttribute(right, false);
    }
    return profile;
}

}  // namespace siftwell
