// ErrorWindow: what went wrong in the last days, and what goes wrong while it is open.
//
// It posts "SiftwellErrorsSeenNotification" whenever the user has the newest before the eyes.
//
// Threads: main; the file of errors is read on a thread of its own.
#pragma once

#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <functional>

#include "ui/Program.h"
#include "ui/background/TaskThread.h"
#include "ui/errors/ErrorModel.h"

namespace siftwell {

class ErrorWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit ErrorWindow(const Program& program, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void arrange();
    QWidget* makeFoot();
    void makeMenu();
    void addAction(QMenu& menu, const QString& text, const QKeySequence& keys,
                   std::function<void()> action);

    void read();
    void take(std::vector<LoggedError> errors);
    void add(const PropertyList& record);
    void tellThatTheyAreSeen();
    void showState();  // the list or that there is nothing, and what can be done
    void showDetails();
    void openAddress();
    void copy();
    void clear();

    const Program m_program;
    ErrorModel m_errors;
    QTableView* const m_list = new QTableView(this);
    QPlainTextEdit* const m_details = new QPlainTextEdit(this);
    QStackedWidget* const m_pages = new QStackedWidget(this);
    QPushButton* m_copy = nullptr;
    QPushButton* m_clear = nullptr;
    bool m_isReading = false;
    bool m_isReadWanted = false;  // something came while the file was read
    NotificationCentre::Observation m_observation;
    TaskThread m_thread;
};

}  // namespace siftwell
