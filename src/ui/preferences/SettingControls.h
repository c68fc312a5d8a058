// SettingControls: makes the controls that show one setting each and hold its change back.
//
// Threads: main.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QSpinBox>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ui/preferences/PrefsEdits.h"

namespace siftwell {

class SettingControls {
public:
    // Outlives the controls.
    explicit SettingControls(PrefsEdits& edits) : m_edits(edits) {}

    QCheckBox* checkBox(const QString& text, const std::string& key);
    QSpinBox* spinBox(const std::string& key, int least, int most);
    QDoubleSpinBox* doubleSpinBox(const std::string& key, double least, double most);
    // Each choice with the text that is stored for it.
    QComboBox* comboBox(const std::string& key,
                        const std::vector<std::pair<QString, std::string>>& choices);

    // Shows the values anew.
    void load() const;

private:
    PrefsEdits& m_edits;
    std::vector<std::function<void()>> m_loaders;
};

// A line that explains, in smaller letters.
QLabel* explanation(const QString& text);
// The same below a check box, where its text begins.
QWidget* explanationBelow(const QString& text);

}  // namespace siftwell
