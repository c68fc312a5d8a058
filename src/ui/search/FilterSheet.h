// FilterSheet: proposes a text that keeps addresses out of the index from now on, and asks whether
// the pages that are in it already shall go.
//
// Threads: main.
#pragma once

#include <QDialog>
#include <QLineEdit>

#include "ui/Program.h"

namespace siftwell {

class FilterSheet : public QDialog {
    Q_OBJECT

public:
    // On the parent's window; deletes itself when it is done.
    FilterSheet(const Program& program, const QString& proposal, QWidget* parent);

    void accept() override;

private:
    const Program m_program;
    QLineEdit* m_text;
};

}  // namespace siftwell
