#include "ui/search/EmptyPage.h"

#include <QPushButton>
#include <algorithm>

#include "search/SearchQuery.h"
#include "ui/Text.h"
#include "ui/search/SearchLimits.h"

namespace siftwell {

struct EmptyPage::Contents {
    struct Button {
        QString title;
        std::function<void()> act;
    };
    QString title;
    QStringList lines;
    std::vector<Button> buttons;
};

EmptyPage::EmptyPage(const Program& program, ActiveSearch& search, QWidget* parent)
    : QWidget(parent),
      m_program(program),
      m_search(search),
      m_title(new QLabel),
      m_text(new QLabel),
      m_buttons(new QHBoxLayout) {
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    QFont big = font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    m_title->setFont(big);
    for (QLabel* label : {m_title, m_text}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setForegroundRole(QPalette::Text);
    }
    const int gap = fontMetrics().height();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(2 * gap, gap, 2 * gap, gap);
    column->setSpacing(gap);
    column->addStretch(2);
    column->addWidget(m_title);
    column->addWidget(m_text);
    column->addLayout(m_buttons);
    column->addStretch(3);
    m_refresh.setInterval(std::chrono::seconds(2));
    connect(&m_refresh, &QTimer::timeout, this, [this] { refresh(); });
    refresh();
}

void EmptyPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
    m_refresh.start();
}

void EmptyPage::hideEvent(QHideEvent* event) {
    m_refresh.stop();
    QWidget::hideEvent(event);
}

void EmptyPage::refresh() {
    m_reason = reasonNow();
    show(contentsFor(m_reason));
}

EmptyPage::Reason EmptyPage::reasonNow() const {
    IndexController& indexes = m_program.session.indexes();
    const bool isFound = m_search.placeholder() != ActiveSearch::Placeholder::NothingFound;
    const bool isEmpty = indexes.documentCount() <= 0;
    if ((isEmpty || isFound) && (!indexes.indexingEnabled() || !isAnySourceOn())) {
        return Reason::IndexingOff;
    }
    if (isEmpty) return Reason::NothingIndexed;
    return isFound ? Reason::NothingTyped : Reason::NothingFound;
}

bool EmptyPage::isAnySourceOn() const {
    const auto items = searchItemsIn(m_program.session.settings().array("SearchItems"));
    return std::any_of(items.begin(), items.end(),
                       [](const SearchItem& item) { return item.Index; });
}

EmptyPage::Contents EmptyPage::contentsFor(Reason reason) {
    switch (reason) {
        case Reason::NothingFound:
            return nothingFound();
        case Reason::NothingIndexed:
            return nothingIndexed();
        case Reason::IndexingOff:
            return indexingOff();
        default:
            return nothingTyped();
    }
}

EmptyPage::Contents EmptyPage::nothingTyped() const {
    const auto count = m_program.session.indexes().documentCount();
    return {q_("Which words do you remember?"),
            {counted(N_("Siftwell remembers %@ page."), N_("Siftwell remembers %@ pages."), count),
             QString(), q_("A few words of the page are enough, in any order."),
             q_("The menus beside the field say how, where and since when to search."),
             q_("Space shows a page as it was seen, Return opens it in the browser.")},
            {}};
}

EmptyPage::Contents EmptyPage::nothingFound() {
    Contents contents{q_("No page was found."), {}, {}};
    if (isOnlyStopWords(m_search.controller().searchQuery(),
                        m_program.session.indexes().stopWords())) {
        contents.lines << q_("Such words are on nearly every page and are not looked for.");
        return contents;
    }
    for (const SearchLimit& limit : limitsOf(m_search, m_program.session.settings())) {
        contents.lines << limit.text;
        contents.buttons.push_back({limit.remedy, [this, lift = limit.lift] {
                                        lift();
                                        Q_EMIT limitLifted();
                                    }});
    }
    if (contents.lines.isEmpty()) contents.lines << q_("Other words may lead to it.");
    return contents;
}

EmptyPage::Contents EmptyPage::nothingIndexed() const {
    const auto state = m_program.driver.scanState();
    const bool isBusy = state && (state->isScanning || state->isLoading);
    return {q_("No page is remembered yet."),
            {isBusy ? q_("Your sources are being read. Pages are found as soon as they are in.")
                    : q_("Siftwell remembers the pages that your browsers keep a record of.")},
            {{q_("Find &Browsers…"), [this] { m_program.commands.showFirstRun(); }}}};
}

EmptyPage::Contents EmptyPage::indexingOff() const {
    const auto maintenance = m_program.driver.maintenanceState();
    if (maintenance && maintenance->isRunning) {
        return {q_("The index is being worked on."),
                {q_("Indexing goes on by itself when that is done.")},
                {{q_("Sh&ow Index Status"), [this] { m_program.commands.showIndexStatus(); }}}};
    }
    if (!isAnySourceOn()) {
        return {
            q_("Nothing new is remembered."),
            {q_("No source is switched on. Choose what Siftwell shall read.")},
            {{q_("Find &Browsers…"), [this] { m_program.commands.showFirstRun(); }},
             {q_("Choose S&ources…"), [this] { m_program.commands.showPreferences(SourcesTab); }}}};
    }
    return {q_("Indexing is switched off for the moment."),
            {q_("While the index is being loaded, or the preferences are open, nothing new is "
                "remembered. It goes on by itself.")},
            {{q_("Show &Preferences"), [this] { m_program.commands.showPreferences(); }}}};
}

// The buttons keep the focus, and a reader its place, when nothing changed.
void EmptyPage::show(const Contents& contents) {
    QStringList told{contents.title, contents.lines.join(QLatin1Char('\n'))};
    for (const auto& button : contents.buttons) told << button.title;
    const QString shown = told.join(QChar(0));
    if (shown == m_shown) return;
    m_shown = shown;
    m_title->setText(contents.title);
    m_text->setText(contents.lines.join(QLatin1Char('\n')));
    while (QLayoutItem* item = m_buttons->takeAt(0)) {
        if (item->widget() != nullptr) item->widget()->deleteLater();
        delete item;
    }
    m_buttons->addStretch();
    for (const auto& button : contents.buttons) {
        auto* widget = new QPushButton(button.title);
        connect(widget, &QPushButton::clicked, this, button.act, Qt::QueuedConnection);
        m_buttons->addWidget(widget);
    }
    m_buttons->addStretch();
}

}  // namespace siftwell
