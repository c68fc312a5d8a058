#include "ui/preferences/SettingControls.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QStyle>

#include "ui/Text.h"

namespace siftwell {

QCheckBox* SettingControls::checkBox(const QString& text, const std::string& key) {
    auto* box = new QCheckBox(text);
    // Some of these are numbers, and stay so.
    const bool isNumber = m_edits.value(key).asInteger() != nullptr;
    QObject::connect(box, &QCheckBox::toggled, box, [this, key, isNumber](bool isOn) {
        m_edits.set(key, isNumber ? PropertyList(isOn ? 1 : 0) : PropertyList(isOn));
    });
    m_loaders.push_back([this, box, key] {
        const QSignalBlocker silence(box);
        box->setChecked(m_edits.boolean(key));
    });
    return box;
}

QSpinBox* SettingControls::spinBox(const std::string& key, int least, int most) {
    auto* box = new QSpinBox;
    box->setRange(least, most);
    QObject::connect(box, &QSpinBox::valueChanged, box,
                     [this, key](int value) { m_edits.set(key, value); });
    m_loaders.push_back([this, box, key] {
        const QSignalBlocker silence(box);
        box->setValue(static_cast<int>(m_edits.real(key)));
    });
    return box;
}

QDoubleSpinBox* SettingControls::doubleSpinBox(const std::string& key, double least, double most) {
    auto* box = new QDoubleSpinBox;
    box->setRange(least, most);
    box->setDecimals(1);
    QObject::connect(box, &QDoubleSpinBox::valueChanged, box,
                     [this, key](double value) { m_edits.set(key, value); });
    m_loaders.push_back([this, box, key] {
        const QSignalBlocker silence(box);
        box->setValue(m_edits.real(key));
    });
    return box;
}

QComboBox* SettingControls::comboBox(const std::string& key,
                                     const std::vector<std::pair<QString, std::string>>& choices) {
    auto* box = new QComboBox;
    for (const auto& [text, stored] : choices) box->addItem(text, toQString(stored));
    QObject::connect(box, &QComboBox::activated, box, [this, box, key] {
        m_edits.set(key, box->currentData().toString().toStdString());
    });
    m_loaders.push_back([this, box, key] {
        box->setCurrentIndex(std::max(0, box->findData(toQString(m_edits.string(key)))));
    });
    return box;
}

void SettingControls::load() const {
    for (const auto& loader : m_loaders) loader();
}

QLabel* explanation(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    return label;
}

QWidget* explanationBelow(const QString& text) {
    auto* whole = new QWidget;
    auto* layout = new QHBoxLayout(whole);
    const QStyle* style = whole->style();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addSpacing(style->pixelMetric(QStyle::PM_IndicatorWidth) +
                       style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing));
    layout->addWidget(explanation(text));
    return whole;
}

}  // namespace siftwell
