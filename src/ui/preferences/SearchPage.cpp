#include "ui/preferences/SearchPage.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/Text.h"

namespace siftwell {

namespace {

QString joinedStopWords(const std::set<std::string>& words) {
    QStringList list;
    for (const std::string& word : words) list << toQString(word);
    list.sort(Qt::CaseInsensitive);
    return list.join(QLatin1Char(' '));
}

}  // namespace

SearchPage::SearchPage(const Program& program, PrefsEdits& edits, const GlobalHotKey* hotKey)
    : m_program(program),
      m_controls(edits),
      m_hotkey(new HotkeyField(program, hotKey)),
      m_stopWords(new QPlainTextEdit) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeSearching());
    layout->addWidget(makeHotkey());
    layout->addWidget(makeStopWords(), 1);
}

QWidget* SearchPage::makeSearching() {
    auto* group = new QGroupBox(q_("Search window"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_controls.checkBox(q_("Search &while I type"), "LiveSearch"));
    return group;
}

QWidget* SearchPage::makeHotkey() {
    auto* group = new QGroupBox(q_("Hot key"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(
        m_controls.checkBox(q_("&Bring up Siftwell from every program with:"), "EnableHotkey"));
    layout->addWidget(m_hotkey);
    auto* form = new QFormLayout;
    form->addRow(q_("It &shows:"), m_controls.comboBox("ContentSearchAppearance",
                                                       {{q_("The search window"), "Standard"},
                                                        {q_("The mini search"), "Mini"}}));
    layout->addLayout(form);
    return group;
}

QWidget* SearchPage::makeStopWords() {
    m_stopWords->setReadOnly(true);
    m_stopWords->setTabChangesFocus(true);
    m_stopWords->setAccessibleName(q_("Words that are not looked for"));
    auto* group = new QGroupBox(q_("Words that are not looked for"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(explanation(
        q_("They are on nearly every page and are left out of the index. The list is made with "
           "the program and cannot be edited here.")));
    layout->addWidget(m_stopWords, 1);
    return group;
}

void SearchPage::load() {
    m_controls.load();
    m_hotkey->load();
    m_stopWords->setPlainText(joinedStopWords(m_program.session.indexes().stopWords()));
}

}  // namespace siftwell
