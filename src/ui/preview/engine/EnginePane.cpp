// The door of the module.

#include <QGuiApplication>
#include <QOpenGLContext>
#include <QPointer>
#include <QQuickWindow>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineFindTextResult>
#include <QWebEngineView>
#include <utility>

#include "ui/preview/engine/PreviewVisit.h"

// Exported by Qt for the web engine, which does the same when it is linked.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext* context);

namespace siftwell {

namespace {

class EnginePane : public PreviewEngine {
public:
    EnginePane() {
        m_view->setContextMenuPolicy(Qt::CustomContextMenu);
        QObject::connect(m_view, &QWidget::customContextMenuRequested, m_view,
                         [this](const QPoint& place) { askForMenu(place); });
    }
    ~EnginePane() override { EnginePane::leave(); }

    QWidget* widget() override { return m_view; }
    void setMenu(AskForMenu ask) override { m_askForMenu = std::move(ask); }

    void show(PreviewTarget target, const PreviewRights& rights, Events events) override {
        auto next = std::make_unique<PreviewVisit>(std::move(target), rights, std::move(events));
        m_view->setPage(&next->page());
        m_visit = std::move(next);
        m_visit->page().open();
    }

    void leave() override {
        if (m_view) m_view->setPage(nullptr);
        m_visit.reset();
    }

    void runScript(const QString& script, std::function<void(const QVariant&)> take) override {
        if (m_visit) m_visit->page().runOwnScript(script, take);
    }

    void find(const QString& text, bool isBackward, std::function<void(int, int)> take) override {
        if (!m_visit) return;
        QWebEnginePage::FindFlags flags;
        flags.setFlag(QWebEnginePage::FindBackward, isBackward);
        m_visit->page().findText(text, flags,
                                 [taken = std::move(take)](const QWebEngineFindTextResult& result) {
                                     if (taken)
                                         taken(result.activeMatch(), result.numberOfMatches());
                                 });
    }

    void copy() override {
        if (m_visit) m_visit->page().triggerAction(QWebEnginePage::Copy);
    }
    void selectAll() override {
        if (m_visit) m_visit->page().triggerAction(QWebEnginePage::SelectAll);
    }

private:
    void askForMenu(const QPoint& place) {
        const QWebEngineContextMenuRequest* const request = m_view->lastContextMenuRequest();
        if (request == nullptr || !m_visit || !m_askForMenu) return;
        m_askForMenu(m_view->mapToGlobal(place), request->linkUrl(),
                     m_visit->page().hasSelection());
    }

    const QPointer<QWebEngineView> m_view = new QWebEngineView;
    AskForMenu m_askForMenu;
    std::unique_ptr<PreviewVisit> m_visit;  // goes before the view
};

}  // namespace

}  // namespace siftwell

// Pages that stand still need no graphics card; a driver's memory, which the engine would keep in
// this process, is spared. Both calls count for the first one only.
extern "C" Q_DECL_EXPORT siftwell::PreviewEngine* siftwellMakePreviewEngine() {
    static const bool isReady = [] {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        if (QOpenGLContext::globalShareContext() == nullptr) {
            // The engine asks it for its format, and does without what it does not offer.
            qt_gl_set_global_share_context(new QOpenGLContext(qApp));
        }
        siftwell::registerPreviewScheme();
        return true;
    }();
    static_cast<void>(isReady);
    return new siftwell::EnginePane;
}
