// WebPreviewPane: the preview, by the web engine, which is started when the first page is shown.
//
// The page is a stranger's: see PreviewProfile, PreviewInterceptor and PreviewPage (engine/) for
// what it may not do. Its bytes are read on a thread of their own.
//
// Threads: main. Errors: what cannot be shown is said in the pane.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <memory>

#include "app/PreviewDocument.h"
#include "ui/PreviewPane.h"
#include "ui/Program.h"
#include "ui/background/TaskThread.h"
#include "ui/preview/PreviewEngine.h"

class QLineEdit;
class QProgressBar;
class QPushButton;
class QStackedWidget;

namespace siftwell {

class FindBar;
class PreviewMessage;

class WebPreviewPane : public PreviewPane {
    Q_OBJECT

public:
    // What the program has outlives the pane.
    explicit WebPreviewPane(const Program& program, QWidget* parent = nullptr);
    ~WebPreviewPane() override;

    void showRow(const ResultRow& row, const std::string& query) override;
    // Everything that the engine keeps of the page goes, too.
    void blank() override;
    QString webURL() const override;
    void performFindPanelAction(int tag) override;

    // What shows pages; null until the first one comes.
    PreviewEngine* engine() { return m_engine.get(); }

Q_SIGNALS:
    // The page or what stands for it is there, its words marked.
    void settled();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    using Wanted = std::function<std::optional<PreviewContent>(const std::stop_token&)>;

    void buildTopLine();
    void buildPane();
    bool startEngine();
    void setWebURL(const QString& url);
    void beginWaiting();
    void endWaiting();
    void leave();

    // `otherwise` is done when nothing comes.
    void get(Wanted wanted, std::function<void()> otherwise);
    void visit(const PreviewContent& content);
    PreviewEngine::Events eventsOf(const std::optional<Url>& address);
    void handleType(const QString& mimeType, const std::optional<Url>& address);
    void handleDownload(const QString& mimeType, const std::optional<Url>& address);
    void getFeed(const Url& url, std::function<void()> otherwise);
    void markWords();
    void mark(const QString& texts);
    void fail(const QString& why);
    void settle();

    void find(const QString& text, bool isBackward);
    void followLink(const QUrl& url);
    void openLink(const QUrl& url);
    void showMenu(QPoint place, const QUrl& link, bool hasSelection);

    Program m_program;
    QLineEdit* m_address = nullptr;
    QPushButton* m_findButton = nullptr;
    QPushButton* m_openButton = nullptr;
    QProgressBar* m_waiting = nullptr;
    FindBar* m_findBar = nullptr;
    QStackedWidget* m_stack = nullptr;
    QWidget* m_empty = nullptr;
    PreviewMessage* m_message = nullptr;
    QTimer m_patience;            // until a page that was left is taken away
    QElapsedTimer m_lastGesture;  // a person's, in the page; it led nowhere yet
    std::string m_query;
    int m_visit = 0;  // counts the pages in the engine, and the rows that take their place
    bool m_hasPage = false;
    std::unique_ptr<PreviewEngine> m_engine;
    TaskThread m_thread;  // only the newest page counts
};

}  // namespace siftwell
