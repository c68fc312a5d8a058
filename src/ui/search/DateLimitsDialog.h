// DateLimitsDialog: the last so many days, or from one day to another. OK writes the settings.
//
// Threads: main.
#pragma once

#include <QDialog>

#include "base/Settings.h"

class QComboBox;
class QDateEdit;
class QRadioButton;
class QSpinBox;

namespace siftwell {

class DateLimitsDialog : public QDialog {
    Q_OBJECT

public:
    // Borrowed; outlives the dialog.
    DateLimitsDialog(Settings& settings, QWidget* parent);

    void accept() override;

private:
    void fill();

    Settings& m_settings;
    QRadioButton* m_isRecent;
    QSpinBox* m_count;
    QComboBox* m_unit;
    QRadioButton* m_isBetween;
    QDateEdit* m_first;
    QDateEdit* m_last;
};

}  // namespace siftwell
