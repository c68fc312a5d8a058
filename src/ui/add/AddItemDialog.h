// AddItemDialog: asks what to add to the index, and adds it.
//
// What several files were dropped for is asked once for all of them.
//
// Threads: main; files are looked at on a thread of its own. Errors: shown in the dialog, which
// stays open with what could not be added.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <vector>

#include "app/Driver.h"
#include "ui/Program.h"
#include "ui/background/TaskThread.h"

namespace siftwell {

class AddItemDialog : public QDialog {
    Q_OBJECT

public:
    // With addresses and files that were dropped somewhere.
    AddItemDialog(const Program& program, const QStringList& targets, QWidget* parent = nullptr);

    // What is added waits for the next scan instead of starting one.
    void leaveToNextScan() { m_isScanStarted = false; }

    void accept() override;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void arrange();
    QWidget* makeTargetField();
    QWidget* makeFileQuestion();
    void fillIndexers();
    void setTargets(const QStringList& targets);
    QStringList targets() const;
    void browse(bool isFolder);
    void showOutlook();  // for what is to be added, once it was looked at
    void sayWhatIsWrong(const QString& text);

    Driver::FileUse fileUse() const;
    std::optional<std::string> indexer() const;
    void add(const QStringList& targets, const std::vector<Result<Url>>& urls);

    const Program m_program;
    bool m_isScanStarted = true;
    bool m_isAdding = false;
    quint64 m_looks = 0;  // only what the last one brings is shown
    QLineEdit* const m_target = new QLineEdit(this);
    QListWidget* const m_list = new QListWidget(this);  // in its place when there are several
    QComboBox* const m_indexer = new QComboBox(this);
    QWidget* m_fileQuestion = nullptr;
    QRadioButton* m_contents = nullptr;
    QRadioButton* m_addresses = nullptr;
    QLabel* const m_outlook = new QLabel(this);
    QWidget* const m_problemRow = new QWidget(this);
    QLabel* const m_problem = new QLabel(m_problemRow);
    QDialogButtonBox* const m_buttons = new QDialogButtonBox(this);
    TaskThread m_thread;
};

}  // namespace siftwell
