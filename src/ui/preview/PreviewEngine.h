// PreviewEngine: the web engine, as the preview uses it.
//
// It lives in a module of its own, which is loaded with the first page: the engine and what it
// brings along take more memory than all the rest of the program. Only what Qt has passes between
// the two.
//
// Threads: main. The engine's widget goes before the QApplication.
#pragma once

#include <QByteArray>
#include <QList>
#include <QPoint>
#include <QUrl>
#include <QVariant>
#include <functional>
#include <memory>

class QWidget;

namespace siftwell {

struct PreviewPart {
    QUrl address;
    QByteArray contentType;  // with its character set, where that is known
    QByteArray bytes;
};

// A page to be shown: from its copy, with what it was saved with, or from its address.
struct PreviewTarget {
    QUrl address;
    bool isCopy = false;
    PreviewPart page;
    QList<PreviewPart> parts;
};

struct PreviewRights {
    bool areImagesShown = true;
    bool areScriptsRun = false;
    // Whether a copy gets pictures of the web that it was not saved with.
    bool mayCopyAskTheWeb = false;
};

class PreviewEngine {
public:
    enum class Failure { Unreachable, Insecure, Answered, Other };

    // What becomes of a page. One of the first three is called; none when the page is left before.
    // The page must not be left from within any.
    struct Events {
        std::function<void(const QString& mimeType)> shown;
        std::function<void(Failure why, int httpStatus)> failed;
        std::function<void(const QString& mimeType)> isDownload;
        std::function<void(const QUrl& url)> linkClicked;
    };
    using AskForMenu = std::function<void(QPoint global, const QUrl& link, bool hasSelection)>;

    virtual ~PreviewEngine() = default;

    virtual QWidget* widget() = 0;  // owned by whoever it is put into
    virtual void setMenu(AskForMenu ask) = 0;

    // Leaves the page that is there.
    virtual void show(PreviewTarget target, const PreviewRights& rights, Events events) = 0;
    // Nothing is left of the page.
    virtual void leave() = 0;

    // Of a page that is there. Scripts run beside those of the page and are hidden from them; they
    // need no right to run.
    virtual void runScript(const QString& script, std::function<void(const QVariant&)> take) = 0;
    // Not case-sensitive, and round the ends of the page; which of how many places it has come to.
    virtual void find(const QString& text, bool isBackward,
                      std::function<void(int active, int total)> take) = 0;
    virtual void copy() = 0;
    virtual void selectAll() = 0;
};

// Loads the module when it is called the first time. Null when there is none.
std::unique_ptr<PreviewEngine> loadPreviewEngine();

}  // namespace siftwell
