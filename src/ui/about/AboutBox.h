// AboutBox: the version, where the data lies, what the program is built of.
//
// Threads: main.
#pragma once

#include <QDialog>

#include "ui/Program.h"

namespace siftwell {

class AboutBox : public QDialog {
    Q_OBJECT

public:
    explicit AboutBox(const Program& program, QWidget* parent = nullptr);

private:
    QWidget* makeHead();
    QWidget* makePlaces();
    QWidget* makeLibraries();
    QWidget* makeFoot();

    const Program m_program;
};

}  // namespace siftwell
