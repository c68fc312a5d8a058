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
#include <array>
#include <utility>

#include "app/FetchedFeed.h"
#include "ui/Explain.h"
#include "ui/Text.h"
#include "ui/preview/FindBar.h"
#include "ui/preview/PreviewMessage.h"
#include "ui/preview/WordMarker.h"

namespace siftwell {

namespace {

constexpr int kPatience = 400;         // ms
constexpr int kLongestGesture = 2000;  // ms, from a click or key to what it leads to

bool mayBeOpened(const QUrl& url) {
    constexpr std::array kSchemes = {"http", "https", "feed", "mailto"};
    return std::any_of(kSchemes.begin(), kSchemes.end(), [&url](const char* scheme) {
        return url.scheme() == QLatin1String(scheme);
    });
}

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

// An address as Qt has it.
QUrl toQUrl(const Url& url) {
    return QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString()));
}

// Whether that is where a row's page is to be had. Who reads a file of this computer is nobody's
// business, whatever address the file gives for itself.
bool isOnTheWeb(const QString& address) {
    constexpr std::array kSchemes = {"http", "https", "feed"};
    return std::any_of(kSchemes.begin(), kSchemes.end(),
                       [scheme = QUrl(address).scheme()](const char* each) {
                           return scheme == QLatin1String(each);
                       });
}

PreviewPart partOf(const WebResource& resource) {
    QByteArray type = QByteArray::fromStdString(resource.mimeType.value_or("text/html"));
    if (resource.textEncodingName) {
        type += "; charset=" + QByteArray::fromStdString(*resource.textEncodingName);
    }
    return {toQUrl(resource.url), type, QByteArray::fromStdString(resource.data)};
}

PreviewTarget targetOf(const PreviewContent& content) {
    const auto* const document = std::get_if<PreviewDocument>(&content);
    if (document == nullptr) return {.address = toQUrl(std::get<Url>(content))};
    PreviewTarget target{.address = toQUrl(document->page.url),
                         .isCopy = true,
                         .page = partOf(document->page),
                         .parts = {}};
    for (const WebResource& part : document->parts) target.parts.push_back(partOf(part));
    return target;
}

QString reasonOf(PreviewEngine::Failure why, int httpStatus) {
    switch (why) {
        case PreviewEngine::Failure::Unreachable:
            return q_("Its server cannot be reached.");
        case PreviewEngine::Failure::Insecure:
            return q_("The connection to its server would not be secure.");
        case PreviewEngine::Failure::Answered:
            return httpStatus == 404 || httpStatus == 410
                       ? q_("Its server no longer has it.")
                       : q_("Its server answered with error %1.").arg(httpStatus);
        case PreviewEngine::Failure::Other:
            break;
    }
    return {};
}

// The window's menus have the key.
QPushButton* addButton(QBoxLayout& line, const QString& text, const QKeySequence& key) {
    auto* const button = new QPushButton(text);
    button->setToolTip(key.toString(QKeySequence::NativeText));
    button->setAutoDefault(false);
    line.addWidget(button);
    return button;
}

}  // namespace

WebPreviewPane::WebPreviewPane(const Program& program, QWidget* parent)
    : PreviewPane(parent), m_program(program), m_thread(program.session.mainLoop(), "preview") {
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
        if (m_hasPage) m_engine->find({}, false, {});
        m_stack->currentWidget()->setFocus();
    });
    connect(m_message, &PreviewMessage::openRequested, this, &PreviewPane::openRequested);
}

bool WebPreviewPane::startEngine() {
    if (m_engine) return true;
    m_engine = loadPreviewEngine();
    if (!m_engine) return false;
    QWidget* const view = m_engine->widget();
    view->setAccessibleName(q_("Page"));
    view->installEventFilter(this);
    m_stack->addWidget(view);
    m_engine->setMenu([this](QPoint place, const QUrl& link, bool hasSelection) {
        showMenu(place, link, hasSelection);
    });
    return true;
}

QString WebPreviewPane::webURL() const { return m_address->text(); }

void WebPreviewPane::setWebURL(const QString& url) {
    const bool isNew = url != m_address->text();
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
    m_thread.drop();
    ++m_visit;
    m_hasPage = false;
    if (m_engine) m_engine->leave();
}

void WebPreviewPane::blank() {
    leave();
    endWaiting();
    m_stack->setCurrentWidget(m_empty);
    setWebURL({});
}

void WebPreviewPane::showRow(const ResultRow& row, const std::string& query) {
    const QString url = toQString(row.url);
    if (!url.isEmpty() && url == webURL()) return;
    m_query = query;
    ++m_visit;
    setWebURL(url);
    beginWaiting();
    m_findBar->forget();
    get([row, &indexers = m_program.driver.indexerFactory()](
            const std::stop_token&) { return previewContentOf(row, indexers); },
        [this] { fail({}); });
}

void WebPreviewPane::get(Wanted wanted, std::function<void()> otherwise) {
    m_thread.runInstead([this, wanted = std::move(wanted),
                         otherwise = std::move(otherwise)](const std::stop_token& stop) {
        return [this, otherwise, content = wanted(stop)] {
            if (!content) return otherwise();
            visit(*content);
        };
    });
}

void WebPreviewPane::visit(const PreviewContent& content) {
    const Url* const address = std::get_if<Url>(&content);
    const std::optional<Url> live = address ? std::optional<Url>(*address) : std::nullopt;
    if (live && toQUrl(*live).scheme() == QLatin1String("feed")) {
        return getFeed(*live, [this] { fail({}); });
    }
    if (!startEngine()) return fail({});
    ++m_visit;
    const Settings& settings = m_program.session.settings();
    m_engine->show(targetOf(content),
                   {.areImagesShown = settings.boolean("LoadImages"),
                    .areScriptsRun = settings.boolean("PreviewRunsScripts"),
                    .mayCopyAskTheWeb = isOnTheWeb(webURL())},
                   eventsOf(live));
    m_hasPage = true;
    m_patience.stop();
    m_stack->setCurrentWidget(m_engine->widget());
}

// Handled in a later turn: some of what follows leaves the page.
PreviewEngine::Events WebPreviewPane::eventsOf(const std::optional<Url>& address) {
    const auto later = [this](auto function) {
        return [this, current = m_visit, function](auto... arguments) {
            const auto call = [this, current, function, arguments...] {
                if (current == m_visit) function(arguments...);
            };
            QMetaObject::invokeMethod(this, call, Qt::QueuedConnection);
        };
    };
    return {.shown = later([this, address](const QString& type) { handleType(type, address); }),
            .failed = later([this](PreviewEngine::Failure why, int httpStatus) {
                fail(reasonOf(why, httpStatus));
            }),
            .isDownload =
                later([this, address](const QString& type) { handleDownload(type, address); }),
            .linkClicked = later([this](const QUrl& url) { followLink(url); })};
}

void WebPreviewPane::handleType(const QString& mimeType, const std::optional<Url>& address) {
    if (!address || !isFeedType(mimeType.toStdString())) return markWords();
    getFeed(*address, [this] { markWords(); });
}

void WebPreviewPane::handleDownload(const QString& mimeType, const std::optional<Url>& address) {
    const QString why = q_("It is a file that only another program can show.");
    if (!address || !isFeedType(mimeType.toStdString())) return fail(why);
    getFeed(*address, [this, why] { fail(why); });
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
    const QPointer<WebPreviewPane> self = this;
    m_engine->runScript(scriptOfTexts(), [self, visit = m_visit](const QVariant& texts) {
        if (self && visit == self->m_visit) self->mark(texts.toString());
    });
}

void WebPreviewPane::mark(const QString& texts) {
    const auto query =
        std::make_shared<QueryMatches>(m_query, m_program.session.indexes().stopWords());
    m_thread.runInstead([this, texts, query](const std::stop_token&) {
        return [this, script = scriptOfMarks(marksIn(texts, *query))] {
            if (m_engine == nullptr) return;
            const QPointer<WebPreviewPane> self = this;
            m_engine->runScript(script, [self, visit = m_visit](const QVariant&) {
                if (self && visit == self->m_visit) self->settle();
            });
        };
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
    if (!m_hasPage) return text.isEmpty() ? void() : QApplication::beep();
    const QPointer<WebPreviewPane> self = this;
    m_engine->find(text, isBackward, [self, text](int active, int total) {
        if (!self || text != self->m_findBar->text()) return;
        self->m_findBar->setFound(active, total);
        if (total == 0 && !text.isEmpty()) QApplication::beep();
    });
}

// Scripts can click, too; what a person does leads to one page at most.
void WebPreviewPane::followLink(const QUrl& url) {
    const bool isGesture = m_lastGesture.isValid() && m_lastGesture.elapsed() < kLongestGesture;
    m_lastGesture.invalidate();
    if (isGesture) openLink(url);
}

void WebPreviewPane::openLink(const QUrl& url) {
    const auto address = Url::parse(url.toEncoded().toStdString());
    if (!mayBeOpened(url) || !address) return;
    if (!m_program.desktop.open(*address)) {
        sayNothingOpens(m_program.alerts, address->absoluteString());
    }
}

bool WebPreviewPane::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ChildAdded:  // where the engine gets its events
            static_cast<QChildEvent*>(event)->child()->installEventFilter(this);
            break;
        case QEvent::MouseButtonRelease:
            m_lastGesture.start();
            break;
        case QEvent::KeyPress:  // on the link that has the keyboard
            if (isReturn(static_cast<const QKeyEvent&>(*event))) m_lastGesture.start();
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

void WebPreviewPane::showMenu(QPoint place, const QUrl& link, bool hasSelection) {
    QMenu menu;
    if (mayBeOpened(link)) {
        menu.addAction(q_("Open Link in Browser"), this, [this, link] { openLink(link); });
        menu.addAction(q_("Copy Link Address"), this, [link] {
            QGuiApplication::clipboard()->setText(link.toString(QUrl::FullyEncoded));
        });
        menu.addSeparator();
    }
    if (hasSelection) menu.addAction(q_("Copy"), this, [this] { m_engine->copy(); });
    menu.addAction(q_("Select All"), this, [this] { m_engine->selectAll(); });
    menu.addSeparator();
    menu.addAction(q_("Find in Page"), this, [this] { performFindPanelAction(1); });
    menu.addAction(q_("Open in Browser"), this, &PreviewPane::openRequested);
    menu.exec(place);
}

}  // namespace siftwell
