// PreviewPage: a page that stays where it is. It asks for nothing, opens nothing and saves nothing;
// what a person clicks on is told to whoever shows it.
//
// Threads: main.
#pragma once

#include <QWebEnginePage>

#include "ui/preview/engine/PreviewScheme.h"

namespace siftwell {

class PreviewPage : public QWebEnginePage {
    Q_OBJECT

public:
    // `copy` is null for a page that is loaded from its address, `address`. Both are borrowed.
    PreviewPage(QWebEngineProfile* profile, const PreviewBytesHandler* copy, const QUrl& address);

    // Begins to load.
    void open();
    // It is where it was to go; nothing leads it elsewhere from now on.
    void stay() { m_isThere = true; }

    // Scripts of ours, which work beside those of the page and are hidden from them, and need no
    // right to run.
    void runOwnScript(const QString& script, const std::function<void(const QVariant&)>& take = {});

Q_SIGNALS:
    // Somebody wants what lies behind a link.
    void linkClicked(const QUrl& url);

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage* createWindow(WebWindowType) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode, const QStringList&, const QStringList&) override {
        return {};
    }
    void javaScriptAlert(const QUrl&, const QString&) override {}
    bool javaScriptConfirm(const QUrl&, const QString&) override { return false; }
    bool javaScriptPrompt(const QUrl&, const QString&, const QString&, QString*) override {
        return false;
    }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int,
                                  const QString&) override {}

private:
    void refuseRights();
    bool acceptInFrame(const QUrl& url) const;
    bool isPlaceInPage(const QUrl& url) const;
    void scrollTo(const QString& place);

    const PreviewBytesHandler* const m_copy;
    const QUrl m_address;
    bool m_isThere = false;
};

}  // namespace siftwell
