// MaintenanceDialogs: the commands that work on the whole index, as a person at a window gives
// them: a question before what takes something away, progress, and what became of it.
//
// Threads: main. A command returns at once; its progress dialog does not keep from other windows.
// Errors: told in an alert.
#pragma once

#include <QObject>
#include <QPointer>
#include <QProgressDialog>
#include <QTimer>
#include <functional>

#include "app/Driver.h"
#include "base/Alerts.h"
#include "index/IndexController.h"

namespace siftwell {

class MaintenanceDialogs : public QObject {
    Q_OBJECT

public:
    // Borrowed; outlives the object.
    struct Surroundings {
        Driver& driver;
        IndexController& indexes;
        Alerts& alerts;
    };
    explicit MaintenanceDialogs(const Surroundings& surroundings);

    void clearIndex(QWidget* parent);
    void rebuildIndex(QWidget* parent);
    void compactIndex(QWidget* parent);
    void applyFilters(QWidget* parent);
    void dumpIndex(QWidget* parent, bool withTerms);  // asks for the file

private:
    using Start = std::function<Status()>;

    bool isConfirmed(const std::string& question, const std::string& warning);
    void run(QWidget* parent, const QString& progress, const Start& start);
    void follow();

    const Surroundings m_surroundings;
    QTimer m_poll;
    QPointer<QProgressDialog> m_progress;  // its window's
    std::uint64_t m_endedBefore = 0;
};

}  // namespace siftwell
