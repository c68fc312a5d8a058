// FirstRunWindow: what the program does with a user's data, and the browsers to be picked from.
//
// What is ticked is read from then on; closing the window by any other way than "Start" leaves the
// sources as they are. At the first start all are ticked; later none that the user switched off.
//
// Threads: main; browsers are looked for, and their pages counted, on a thread of its own.
#pragma once

#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <vector>

#include "app/BrowserItems.h"
#include "ui/Program.h"
#include "ui/background/TaskThread.h"

namespace siftwell {

class FirstRunWindow : public QDialog {
    Q_OBJECT

public:
    explicit FirstRunWindow(const Program& program, QWidget* parent = nullptr);

    void accept() override;

private:
    struct Line {
        QTreeWidgetItem* line = nullptr;
        BrowserItem item;
    };

    void arrange();
    QWidget* makeExplanation();
    QWidget* makeFoot();
    void addFolder();
    void look();
    void take(const std::vector<BrowserItems>& browsers, const std::vector<SearchItem>& others);
    void addBrowser(const BrowserItems& browser);
    void addOthers(const std::vector<SearchItem>& others);
    void addLine(QTreeWidgetItem* group, const BrowserItem& item, const QString& name);
    void countPages();
    void showCount(std::size_t line, std::int64_t count);

    const Program m_program;
    const bool m_isFirstStart;
    QTreeWidget* const m_list = new QTreeWidget(this);
    QLabel* const m_state = new QLabel(this);
    QPushButton* m_start = nullptr;
    std::vector<Line> m_lines;
    TaskThread m_thread;
};

}  // namespace siftwell
