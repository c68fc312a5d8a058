#include "ui/preview/WebPreviewPane.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineFindTextResult>
#include <QWebEngineView>
#include <array>
#include <utility>

#include "app/FetchedFeed.h"
#include "ui/Text.h"
#include "ui/preview/FindBar.h"
#include "ui/preview/PreviewMessage.h"
#include "ui/preview/WordMarker.h"

namespace siftwell {

namespace {

constexpr int kPatience = 400;         // ms
constexpr int kLongestGesture = 2000;  // ms, from a click or a key to what it leads to

bool mayBeOpened(const QUrl& url) {
    constexpr std::array kSchemes = {"http", "https", "feed", "mailto"};
    return std::any_of(kSchemes.begin(), kSchemes.end(), [&url](const char* scheme) {
        return url.scheme() == QLatin1String(scheme);
    });
}

QPushButton* addButton(QBoxLayout& line, const QString& text, const QKeySequence& key) {
    auto* const button = new QPushButton(text);
    button->setShortcut(key);
    button->setToolTip(key.toString(QKeySequence::NativeText));
    button->setAutoDefault(false);
    line.addWidget(button);
    return button;
}

}  // namespace

WebPreviewPane::WebPreviewPane(const Program& program, QWidget* parent)
    : PreviewPane(parent), m_program(program) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildTopLine();
    buildPane();
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    connect(&m_patience, &QTimer::timeout, this, [this] { m_stack->setCurrentWidget(m_empty); });
    setWebURL({});
    endWaiting();
}

WebPreviewPane::~WebPreviewPane() { leave(); }

void WebPreviewPane::buildTopLine() {
    auto* const line = new QHBoxLayout;
    line->setContentsMargins(8, 8, 8, 8);
    line->setSpacing(8);
    m_address = new QLineEdit;
    m_address->setReadOnly(true);
    m_address->setMinimumWidth(fontMetrics().averageCharWidth() * 12);
    m_address->setLayoutDirection(Qt::LeftToRight);
    m_address->setAccessibleName(q_("Address of the page"));
    m_address->setPlaceholderText(q_("No page"));
    line->addWidget(m_address, 1);
    m_findButton = addButton(*line, q_("Find in Page"), Qt::CTRL | Qt::SHIFT | Qt::Key_F);
    m_openButton = addButton(*line, q_("Open"), Qt::CTRL | Qt::SHIFT | Qt::Key_O);
    m_openButton->setAccessibleName(q_("Open in Browser"));
    static_cast<QVBoxLayout*>(layout())->addLayout(line);
    connect(m_findButton, &QPushButton::clicked, this, [this] { performFindPanelAction(1); });
    connect(m_openButton, &QPushButton::clicked, this, &PreviewPane::openRequested);
}

void WebPreviewPane::buildPane() {
    m_findBar = new FindBar;
    m_findBar->hide();
    m_waiting = new QProgressBar;
    m_waiting->setTextVisible(false);
    m_waiting->setFixedHeight(3);
    m_waiting->setAccessibleName(q_("Loading the page"));
    QSizePolicy keepingItsPlace = m_waiting->sizePolicy();
    keepingItsPlace.setRetainSizeWhenHidden(true);
    m_waiting->setSizePolicy(keepingItsPlace);
    m_stack = new QStackedWidget;
    m_empty = new QWidget;
    m_empty->setBackgroundRole(QPalette::Base);
    m_empty->setAutoFillBackground(true);
    m_message = new PreviewMessage;
    m_message->setBackgroundRole(QPalette::Base);
    m_message->setAutoFillBackground(true);
    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_message);
    layout()->addWidget(m_findBar);
    layout()->addWidget(m_waiting);
    layout()->addWidget(m_stack);
    static_cast<QVBoxLayout*>(layout())->setStretchFactor(m_stack, 1);
    connect(m_findBar, &FindBar::findRequested, this, &WebPreviewPane::find);
    connect(m_findBar, &FindBar::closed, this, [this] {
        if (page() != nullptr) page()->findText({});
        m_stack->currentWidget()->setFocus();
    });
    connect(m_message, &PreviewMessage::openRequested, this, &PreviewPane::openRequested);
}

QWebEngineView& WebPreviewPane::view() {
    if (m_view != nullptr) return *m_view;
    m_view = new QWebEngineView;
    m_view->setAccessibleName(q_("Page"));
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->installEventFilter(this);
    connect(m_view, &QWidget::customContextMenuRequested, this, &WebPreviewPane::showMenu);
    m_stack->addWidget(m_view);
    return *m_view;
}

PreviewPage* WebPreviewPane::page() { return m_visit ? &m_visit->page() : nullptr; }

QString WebPreviewPane::webURL() const { return m_address->text(); }

void WebPreviewPane::setWebURL(const QString& url) {
    const bool isNew = url != webURL();
    m_address->setText(url);
    m_address->setCursorPosition(0);
    m_address->setToolTip(url);
    m_openButton->setEnabled(canOpenPreviewed(url.toStdString()));
    m_findButton->setEnabled(!url.isEmpty());
    if (isNew) Q_EMIT webURLChanged(url);
}

void WebPreviewPane::beginWaiting() {
    m_waiting->setRange(0, 0);
    m_waiting->show();
    m_patience.start();
}

void WebPreviewPane::endWaiting() {
    m_waiting->hide();
    m_waiting->setRange(0, 1);  // one that is hidden takes no time
    m_patience.stop();
}

// What comes of it from now on does not count.
void WebPreviewPane::leave() {
    ++m_load;
    if (m_view != nullptr) m_view->setPage(nullptr);
    m_visit.reset();
}

void WebPreviewPane::blank() {
    m_worker.drop();
    leave();
    endWaiting();
    m_stack->setCurrentWidget(m_empty);
    setWebURL({});
}

void WebPreviewPane::showRow(const ResultRow& row, const std::string& query) {
    const QString url = toQString(row.url);
    if (!url.isEmpty() && url == webURL()) return;
    m_query = query;
    setWebURL(url);
    beginWaiting();
    m_findBar->forget();
    get([row, &indexers = m_program.driver.indexerFactory()](
            const std::stop_token&) { return previewContentOf(row, indexers); },
        [this] { fail({}); });
}

void WebPreviewPane::get(Wanted wanted, std::function<void()> otherwise) {
    const int load = ++m_load;
    m_worker.start([this, load, wanted = std::move(wanted),
                    otherwise = std::move(otherwise)](const std::stop_token& stop) {
        auto content = std::make_shared<std::optional<PreviewContent>>(wanted(stop));
        const auto take = [this, load, content, otherwise] {
            if (load != m_load) return;
            if (!*content) return otherwise();
            visit(**std::move(content));
        };
        QMetaObject::invokeMethod(this, take, Qt::QueuedConnection);
    });
}

void WebPreviewPane::visit(PreviewContent content) {
    const Url* const address = std::get_if<Url>(&content);
    const std::optional<Url> live = address ? std::optional<Url>(*address) : std::nullopt;
    if (live && toQUrl(*live).scheme() == QLatin1String("feed")) {
        return getFeed(*live, [this] { fail({}); });
    }
    const Settings& settings = m_program.session.settings();
    auto next = std::make_unique<PreviewVisit>(
        std::move(content), PreviewRights{.areImagesShown = settings.boolean("LoadImages"),
                                          .areScriptsRun = settings.boolean("PreviewRunsScripts")});
    view().setPage(&next->page());
    m_visit = std::move(next);
    watchVisit(live);
    m_visit->page().open();
    m_patience.stop();
    m_stack->setCurrentWidget(m_view);
}

// In a later turn: some of what follows ends the visit.
void WebPreviewPane::watchVisit(const std::optional<Url>& address) {
    const auto whileItCounts = [this](auto function) {
        return [this, load = m_load, function](const auto&... arguments) {
            if (load == m_load) function(arguments...);
        };
    };
    const PreviewVisit* const visit = m_visit.get();
    connect(visit, &PreviewVisit::shown, this, whileItCounts([this] { markWords(); }),
            Qt::QueuedConnection);
    connect(visit, &PreviewVisit::failed, this,
            whileItCounts([this](const QString& why) { fail(why); }), Qt::QueuedConnection);
    connect(visit, &PreviewVisit::feedFound, this, whileItCounts([this, address](bool isShown) {
                getFeed(*address, [this, isShown] { isShown ? markWords() : fail({}); });
            }),
            Qt::QueuedConnection);
    connect(visit, &PreviewVisit::linkClicked, this, &WebPreviewPane::openLink);
}

void WebPreviewPane::getFeed(const Url& url, std::function<void()> otherwise) {
    const auto fetch = [url, &network = m_program.session.network()](
                           const std::stop_token& stop) -> std::optional<PreviewContent> {
        auto document = fetchedFeed(url, network, stop);
        return document ? std::optional<PreviewContent>(*std::move(document)) : std::nullopt;
    };
    get(fetch, std::move(otherwise));
}

void WebPreviewPane::markWords() {
    endWaiting();
    const int load = m_load;
    const QPointer<WebPreviewPane> self = this;
    page()->runOwnScript(scriptOfTexts(), [self, load](const QVariant& texts) {
        if (self && load == self->m_load) self->mark(texts.toString());
    });
}

void WebPreviewPane::mark(const QString& texts) {
    const auto query =
        std::make_shared<QueryMatches>(m_query, m_program.session.indexes().stopWords());
    m_worker.start([this, load = m_load, texts, query](const std::stop_token&) {
        const QString script = scriptOfMarks(marksIn(texts, *query));
        QMetaObject::invokeMethod(
            this,
            [this, load, script] {
                if (load != m_load) return;
                const QPointer<WebPreviewPane> self = this;
                page()->runOwnScript(script, [self, load](const QVariant&) {
                    if (self && load == self->m_load) self->settle();
                });
            },
            Qt::QueuedConnection);
    });
}

void WebPreviewPane::fail(const QString& why) {
    leave();
    m_message->setReason(why);
    m_stack->setCurrentWidget(m_message);
    settle();
}

void WebPreviewPane::settle() {
    endWaiting();
    Q_EMIT settled();
}

void WebPreviewPane::performFindPanelAction(int tag) {
    const bool isSearch = tag == 2 || tag == 3;
    if (isSearch && !m_findBar->text().isEmpty()) return find(m_findBar->text(), tag == 3);
    if (tag == 1 || isSearch) m_findBar->begin();
}

void WebPreviewPane::find(const QString& text, bool isBackward) {
    if (page() == nullptr) return text.isEmpty() ? void() : QApplication::beep();
    QWebEnginePage::FindFlags flags;
    flags.setFlag(QWebEnginePage::FindBackward, isBackward);
    const QPointer<WebPreviewPane> self = this;
    page()->findText(text, flags, [self, text](const QWebEngineFindTextResult& result) {
        if (!self || text != self->m_findBar->text()) return;
        self->m_findBar->setFound(result.activeMatch(), result.numberOfMatches());
        if (result.numberOfMatches() == 0 && !text.isEmpty()) QApplication::beep();
    });
}

// Scripts can click, too; what they do counts for nothing.
void WebPreviewPane::openLink(const QUrl& url) {
    const bool isGesture = m_lastInput.isValid() && m_lastInput.elapsed() < kLongestGesture;
    const auto address = Url::parse(url.toEncoded().toStdString());
    if (isGesture && mayBeOpened(url) && address) m_program.desktop.open(*address);
}

bool WebPreviewPane::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ChildAdded:  // where the engine gets its events
            static_cast<QChildEvent*>(event)->child()->installEventFilter(this);
            break;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::KeyPress:
            m_lastInput.start();
            break;
        default:
            break;
    }
    return PreviewPane::eventFilter(watched, event);
}

// For windows without these keys.
void WebPreviewPane::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_F3) return PreviewPane::keyPressEvent(event);
    performFindPanelAction(event->modifiers().testFlag(Qt::ShiftModifier) ? 3 : 2);
}

void WebPreviewPane::showMenu(const QPoint& place) {
    const QWebEngineContextMenuRequest* request = m_view->lastContextMenuRequest();
    if (request == nullptr || page() == nullptr) return;
    QMenu menu;
    const QUrl link = request->linkUrl();
    if (mayBeOpened(link)) {
        menu.addAction(q_("Open Link in Browser"), this, [this, link] { openLink(link); });
        menu.addAction(q_("Copy Link Address"), this, [link] {
            QGuiApplication::clipboard()->setText(link.toString(QUrl::FullyEncoded));
        });
        menu.addSeparator();
    }
    if (page()->hasSelection()) {
        menu.addAction(q_("Copy"), this, [this] { page()->triggerAction(QWebEnginePage::Copy); });
    }
    menu.addAction(q_("Select All"), this,
                   [this] { page()->triggerAction(QWebEnginePage::SelectAll); });
    menu.addSeparator();
    menu.addAction(q_("Find in Page"), this, [this] { performFindPanelAction(1); });
    menu.addAction(q_("Open in Browser"), this, &PreviewPane::openRequested);
    m_lastInput.start();  // choosing from the menu is a person's doing
    menu.exec(m_view->mapToGlobal(place));
}

}  // namespace siftwell
