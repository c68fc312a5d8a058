// IndexStatusWindow: what is in the index: the sources, every document, and when they were seen.
//
// Whether it is open is remembered in "IndexListVisible". What it shows is held while it is open.
//
// Threads: main; see DocumentLister and DocumentModel.
#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QTimer>
#include <memory>
#include <vector>

#include "ui/Program.h"
#include "ui/status/DocumentLister.h"
#include "ui/status/DocumentView.h"
#include "ui/status/SourceList.h"
#include "ui/status/WeekChart.h"

namespace siftwell {

class IndexStatusWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit IndexStatusWindow(const Program& program, QWidget* parent = nullptr);

    // The program closes the window at its end: it is open again at the next start.
    void setIsEnding() { m_isEnding = true; }

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void makeActions();
    QAction* addAction(const QString& text, const QKeySequence& keys, std::function<void()> action);
    void arrange();
    QWidget* makeFoot();
    void observe();

    void begin();
    void end();
    void ask();  // the query as the fields have it
    void take(const DocumentListPointer& list);
    void sayHowMany(const DocumentList& list);
    void showSources();
    void setSwitch(const QString& source, bool isOn);

    void openDocument();
    void copyAddresses();
    void removeDocuments();
    bool isRemovalMeant(std::size_t count);

    const Program m_program;
    SourceList* const m_sources = new SourceList(this);
    QLineEdit* const m_filter = new QLineEdit(this);
    DocumentView* const m_documents;
    WeekChart* const m_chart = new WeekChart(this);
    QLabel* const m_count = new QLabel(this);
    std::vector<IndexSize> m_sizes;
    bool m_isEnding = false;
    QTimer m_look;  // what changes in between is looked at together
    std::vector<NotificationCentre::Observation> m_observations;
    std::unique_ptr<DocumentLister> m_lister;  // null while the window is closed
};

}  // namespace siftwell
