// The menus of the search window, and what it remembers of its look.

#include <QActionGroup>
#include <QApplication>
#include <QHeaderView>
#include <QMenuBar>
#include <QToolBar>

#include "ui/Text.h"
#include "ui/search/SearchWindow.h"

namespace siftwell {

namespace {

constexpr const char* kGeometry = "SearchWindowGeometry";
constexpr const char* kSplitter = "SearchWindowSplitter";
constexpr const char* kForm = "SearchWindowForm";  // "Rows" or "Table"
constexpr const char* kColumns = "SearchWindowColumns";
constexpr const char* kToolBar = "SearchWindowToolBarHidden";

QList<QKeySequence> keys(std::initializer_list<const char*> texts) {
    QList<QKeySequence> result;
    for (const char* text : texts) result << QKeySequence(QString::fromLatin1(text));
    return result;
}

PropertyList asSetting(const QByteArray& bytes) { return PropertyList::Data{bytes.toStdString()}; }

QByteArray bytesOf(const Settings& settings, const char* key) {
    const PropertyList value = settings.value(key);
    return value.asData() ? QByteArray::fromStdString(value.asData()->bytes) : QByteArray();
}

}  // namespace

QAction* SearchWindow::addAction(QMenu& menu, const char* text,
                                 const QList<QKeySequence>& shortcuts, std::function<void()> act) {
    QAction* action = menu.addAction(q_(text));
    action->setShortcuts(shortcuts);
    connect(action, &QAction::triggered, this, [act = std::move(act)] { act(); });
    return action;
}

void SearchWindow::setUpMenus() {
    addFileMenu();
    addEditMenu();
    addSearchMenu();
    addViewMenu();
    m_program.commands.addProgramMenus(*menuBar());
}

void SearchWindow::addFileMenu() {
    QMenu& menu = *menuBar()->addMenu(q_("&File"));
    menu.addAction(rowActions().open);
    menu.addAction(m_found->openPreviewed());
}

void SearchWindow::addEditMenu() {
    QMenu& menu = *menuBar()->addMenu(q_("&Edit"));
    menu.addAction(rowActions().copy);
    menu.addAction(rowActions().remove);
    menu.addSeparator();
    menu.addAction(rowActions().addFilter);
    menu.addAction(rowActions().neverIndexSite);
    menu.addSeparator();
    const auto find = [this](int tag) { m_found->performFindPanelAction(tag); };
    addAction(menu, N_("Find in &Page…"), keys({"Ctrl+Shift+F"}), [find] { find(1); });
    addAction(menu, N_("Find Ne&xt"), keys({"F3"}), [find] { find(2); });
    addAction(menu, N_("Find Pre&vious"), keys({"Shift+F3"}), [find] { find(3); });
}

void SearchWindow::addSearchMenu() {
    QMenu& menu = *menuBar()->addMenu(q_("&Search"));
    addAction(menu, N_("Search &Field"), keys({"Ctrl+L", "Ctrl+F"}),
              [this] { field().focusAll(); });
    addAction(menu, N_("Search &Again"), keys({"Ctrl+R"}), [this] { m_search.searchAgain(); });
    menu.addAction(rowActions().moreFromSite);
    menu.addSeparator();
    m_bar->addMenusTo(menu);
}

void SearchWindow::addViewMenu() {
    QMenu& menu = *menuBar()->addMenu(q_("&View"));
    menu.addAction(rowActions().preview);
    menu.addSeparator();
    m_tableForm = menu.addAction(q_("As &Table"));
    m_tableForm->setShortcut(QKeySequence(QStringLiteral("Ctrl+T")));
    m_tableForm->setCheckable(true);
    connect(m_tableForm, &QAction::toggled, this, [this](bool isTable) {
        view().setForm(isTable ? ResultView::Form::Table : ResultView::Form::Rows);
    });
    addColumnsMenu(menu);
    addSortMenu(menu);
    menu.addSeparator();
    QAction* toolBar = m_actionBar->toggleViewAction();
    toolBar->setText(q_("T&ool Bar"));
    toolBar->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+T")));
    menu.addAction(toolBar);
}

void SearchWindow::addColumnsMenu(QMenu& menu) {
    QMenu* columns = menu.addMenu(q_("&Columns"));
    for (int i = 0; i < ResultModel::kColumns; ++i) {
        if (i == ResultModel::TitleColumn) continue;
        QAction* action = columns->addAction(
            m_search.results().headerData(i, Qt::Horizontal, Qt::DisplayRole).toString());
        action->setCheckable(true);
        connect(action, &QAction::toggled, this,
                [this, i](bool isShown) { view().showColumn(i, isShown); });
        connect(columns, &QMenu::aboutToShow, action, [this, action, i] {
            const QSignalBlocker blocker(action);
            action->setEnabled(view().form() == ResultView::Form::Table);
            action->setChecked(view().isColumnShown(i));
        });
    }
    QHeaderView* header = view().horizontalHeader();
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QWidget::customContextMenuRequested, this,
            [header, columns](const QPoint& place) { columns->popup(header->mapToGlobal(place)); });
}

void SearchWindow::addSortMenu(QMenu& menu) {
    QMenu* sort = menu.addMenu(q_("&Sort By"));
    auto* group = new QActionGroup(this);
    for (int i = 0; i < ResultModel::kColumns; ++i) {
        QAction* action = sort->addAction(
            m_search.results().headerData(i, Qt::Horizontal, Qt::DisplayRole).toString());
        action->setCheckable(true);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, i] {
            const bool isBestFirst = i == ResultModel::ScoreColumn || i == ResultModel::DateColumn;
            view().sortByColumn(i, isBestFirst ? Qt::DescendingOrder : Qt::AscendingOrder);
        });
        connect(sort, &QMenu::aboutToShow, action, [this, action, i] {
            action->setChecked(view().horizontalHeader()->sortIndicatorSection() == i);
        });
    }
}

// ---- The look

void SearchWindow::restoreLook() {
    const Settings& settings = m_program.session.settings();
    resize(fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 42);
    restoreGeometry(bytesOf(settings, kGeometry));
    if (!m_found->restoreState(bytesOf(settings, kSplitter))) {
        m_found->setSizes({height(), height()});
    }
    view().setColumns(bytesOf(settings, kColumns));
    m_tableForm->setChecked(settings.string(kForm) == "Table");
    m_actionBar->setVisible(!settings.boolean(kToolBar));
}

void SearchWindow::keepLook() {
    Settings& settings = m_program.session.settings();
    settings.set(kGeometry, asSetting(saveGeometry()));
    settings.set(kSplitter, asSetting(m_found->saveState()));
    settings.set(kColumns, asSetting(view().columns()));
    settings.set(kForm, view().form() == ResultView::Form::Table ? "Table" : "Rows");
    settings.set(kToolBar, m_actionBar->isHidden());
}

// Changing what a window is hides it.
void SearchWindow::takePaletteSettings() {
    const bool floats = m_program.session.settings().boolean("SearchPaletteFloats");
    if (floats == windowFlags().testFlag(Qt::WindowStaysOnTopHint)) return;
    const bool wasVisible = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, floats);
    if (wasVisible) show();
}

}  // namespace siftwell
