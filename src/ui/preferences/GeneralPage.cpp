#include "ui/preferences/GeneralPage.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include "ui/Text.h"
#include "ui/desktop/FrontProgram.h"

namespace siftwell {

namespace {

constexpr int kMostDays = 36'500;
constexpr double kMostMinutes = 10'080;  // a week
constexpr int kMostDownloads = 16;

}  // namespace

GeneralPage::GeneralPage(const Program& program, PrefsEdits& edits, const GlobalHotKey* hotKey)
    : m_program(program),
      m_controls(edits),
      m_hotKey(hotKey),
      m_look(new QPushButton(q_("Look &Now"))),
      m_lookResult(explanation({})) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeIndexing());
    layout->addWidget(makeWindows());
    layout->addWidget(makeUpdates());
    layout->addStretch();
}

void GeneralPage::load() {
    m_controls.load();
    if (m_look->isEnabled()) m_lookResult->hide();  // what was said is old
}

QWidget* GeneralPage::makeIndexing() {
    auto* group = new QGroupBox(q_("Indexing"));
    auto* form = new QFormLayout(group);
    auto* days = m_controls.spinBox("DaysToSearch", 1, kMostDays);
    days->setSuffix(q_(" days"));
    form->addRow(q_("&Forget pages after:"), days);
    form->addRow(explanation(q_("Of sources whose pages are to be forgotten when they are old.")));
    auto* minutes = m_controls.doubleSpinBox("MinutesBetweenScans", 0, kMostMinutes);
    minutes->setSuffix(q_(" minutes"));
    minutes->setSpecialValueText(q_("only when I ask"));
    form->addRow(q_("&Look for new pages every:"), minutes);
    form->addRow(q_("Fetch at the &same time:"), [this] {
        auto* pages = m_controls.spinBox("MaxDownloadThreads", 1, kMostDownloads);
        pages->setSuffix(q_(" pages"));
        return pages;
    }());
    return group;
}

QWidget* GeneralPage::makeWindows() {
    auto* group = new QGroupBox(q_("Windows"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_controls.checkBox(q_("&Open the search window when Siftwell comes forward"),
                                          "ShowWindowOnActivate"));
    auto* icon = m_controls.checkBox(q_("Show an &icon in the panel, and windows in the task bar"),
                                     "ShowIconInDock");
    layout->addWidget(icon);
    layout->addWidget(makeIconNote());
    layout->addWidget(m_controls.checkBox(q_("Keep the search window &above other windows"),
                                          "SearchPaletteFloats"));
    layout->addWidget(m_controls.checkBox(q_("&Hide the search window while I use another program"),
                                          "SearchPaletteHides"));
    auto* inBrowser =
        m_controls.checkBox(q_("Show the search window only while a &browser is in front"),
                            "SearchPaletteOnlyInBrowser");
    layout->addWidget(inBrowser);
    if (!FrontProgram::isPossible()) {
        inBrowser->setEnabled(false);
        layout->addWidget(
            explanationBelow(q_("This desktop does not say which program is in front.")));
    }
    return group;
}

// Why the box for the icon has no effect, where it has none.
QWidget* GeneralPage::makeIconNote() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        return explanationBelow(q_("This desktop has no panel for icons."));
    }
    auto* note = explanationBelow(q_("The icon is always there while no hot key works."));
    if (m_hotKey == nullptr || m_hotKey->isActive()) note->hide();
    if (m_hotKey != nullptr) {
        connect(m_hotKey, &GlobalHotKey::changed, note,
                [this, note] { note->setVisible(!m_hotKey->isActive()); });
    }
    return note;
}

QWidget* GeneralPage::makeUpdates() {
    auto* group = new QGroupBox(q_("Start and updates"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_controls.checkBox(q_("Start Siftwell when I log &in"), "LaunchAtLogin"));
    auto* check = m_controls.checkBox(q_("Look for &newer versions"), "CheckForUpdates");
    connect(m_look, &QPushButton::clicked, this, &GeneralPage::lookForUpdate);
    auto* row = new QHBoxLayout;
    row->addWidget(check);
    row->addStretch();
    row->addWidget(m_look);
    layout->addLayout(row);
    layout->addWidget(m_lookResult);
    m_lookResult->hide();
    if (!m_program.driver.canCheckForUpdate()) {
        check->setEnabled(false);
        m_look->hide();
        layout->addWidget(explanationBelow(q_("This copy is kept up to date by your system.")));
    }
    return group;
}

void GeneralPage::lookForUpdate() {
    m_look->setEnabled(false);
    m_lookResult->setText(q_("Looking…"));
    m_lookResult->show();
    m_program.driver.checkForUpdate([page = QPointer(this)](const Result<bool>& isThereNewer) {
        if (page != nullptr) page->showLook(isThereNewer);
    });
}

void GeneralPage::showLook(const Result<bool>& isThereNewer) {
    m_look->setEnabled(true);
    m_lookResult->setToolTip(toQString(isThereNewer.status().message()));
    m_lookResult->setText(!isThereNewer   ? q_("It could not be found out whether there is a newer "
                                                 "version. Please try again later.")
                          : *isThereNewer ? q_("There is a newer version.")
                                          : q_("This is the newest version."));
}

}  // namespace siftwell
