#include "ui/maintenance/MaintenanceDialogs.h"

#include <QFileDialog>
#include <QStandardPaths>

#include "ui/Explain.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr int kBetweenLooks = 100;    // ms
constexpr int kBeforeProgress = 400;  // ms: what is over by then needs no dialog

QString proposedFile() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) +
           QStringLiteral("/siftwell.html");
}

}  // namespace

MaintenanceDialogs::MaintenanceDialogs(const Surroundings& surroundings)
    : m_surroundings(surroundings) {
    m_poll.setInterval(kBetweenLooks);
    connect(&m_poll, &QTimer::timeout, this, [this] { follow(); });
}

void MaintenanceDialogs::clearIndex(QWidget* parent) {
    const QString pages =
        counted(N_("%@ page"), N_("%@ pages"), m_surroundings.indexes.documentCount());
    const std::string warning = filledIn(_("%@ will be taken out of the index. Sources are read "
                                           "from their beginning by the next scan."),
                                         pages.toStdString());
    if (!isConfirmed(_("Do you want to clear the index?"), warning)) return;
    run(parent, q_("Clearing the index"), [this] { return m_surroundings.driver.clearIndex(); });
}

void MaintenanceDialogs::rebuildIndex(QWidget* parent) {
    const QString pages =
        counted(N_("%@ page"), N_("%@ pages"), m_surroundings.indexes.documentCount());
    const std::string warning =
        filledIn(_("The index will be emptied, and %@ fetched again. What cannot be reached any "
                   "more will be missing then."),
                 pages.toStdString());
    if (!isConfirmed(_("Do you want to rebuild the index?"), warning)) return;
    run(parent, q_("Rebuilding the index"),
        [this] { return m_surroundings.driver.rebuildIndex(); });
}

void MaintenanceDialogs::compactIndex(QWidget* parent) {
    run(parent, q_("Compacting the index"),
        [this] { return m_surroundings.driver.compactIndex(); });
}

void MaintenanceDialogs::applyFilters(QWidget* parent) {
    run(parent, q_("Filtering the index"), [this] { return m_surroundings.driver.applyFilters(); });
}

void MaintenanceDialogs::dumpIndex(QWidget* parent, bool withTerms) {
    const QString file = QFileDialog::getSaveFileName(parent, q_("Write the index to a file"),
                                                      proposedFile(), q_("Bookmarks (*.html)"));
    if (file.isEmpty()) return;
    const std::string path = QFile::encodeName(file).toStdString();
    run(parent, q_("Writing the index to a file"), [this, path, withTerms] {
        return withTerms ? m_surroundings.driver.dumpIndex(path)
                         : m_surroundings.driver.dumpURLs(path);
    });
}

bool MaintenanceDialogs::isConfirmed(const std::string& question, const std::string& warning) {
    return m_surroundings.alerts.ask(
               {.title = question, .text = warning, .buttons = {_("No"), _("Yes")}}, 0) == 1;
}

void MaintenanceDialogs::run(QWidget* parent, const QString& progress, const Start& start) {
    const auto before = m_surroundings.driver.maintenanceState();
    const Status started = start();
    if (!started.isOk()) return explain(started, m_surroundings.alerts);
    m_endedBefore = before ? before->ended : 0;
    m_progress = new QProgressDialog(progress, QString(), 0, 0, parent);
    m_progress->setAttribute(Qt::WA_DeleteOnClose);
    m_progress->setAutoReset(false);
    m_progress->setAutoClose(false);
    m_progress->setMinimumDuration(kBeforeProgress);
    m_progress->setValue(0);
    m_poll.start();
}

void MaintenanceDialogs::follow() {
    const auto state = m_surroundings.driver.maintenanceState();
    if (state && state->ended == m_endedBefore && state->isRunning) {
        if (m_progress == nullptr) return;
        m_progress->setMaximum(state->percent ? 100 : 0);
        m_progress->setValue(static_cast<int>(state->percent.value_or(0)));
        return;
    }
    m_poll.stop();
    if (m_progress != nullptr) m_progress->close();
    if (state) explain(state->result, m_surroundings.alerts);
}

}  // namespace siftwell
