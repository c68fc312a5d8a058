#include "ui/preferences/PrivacyPage.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/Text.h"

namespace siftwell {

PrivacyPage::PrivacyPage(const Program& program, PrefsEdits& edits)
    : m_program(program), m_controls(edits) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeReading());
    layout->addWidget(makePreviews());
    layout->addWidget(makeData());
    layout->addStretch();
}

QWidget* PrivacyPage::makeReading() {
    auto* group = new QGroupBox(q_("Indexing"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(
        m_controls.checkBox(q_("Read &PDF, RTF and DOC files, too"), "UseContentExtractors"));
    layout->addWidget(
        explanationBelow(q_("With other programs, which can neither write nor use the network.")));
    layout->addWidget(
        m_controls.checkBox(q_("Index pages that ask for a pass&word"), "IndexProtectedPages"));
    layout->addWidget(explanationBelow(
        q_("Siftwell then sends the names and passwords of your keyring to the pages that ask for "
           "them, and their text gets into the index, where whoever uses your account can read "
           "it. This ends when Siftwell does.")));
    return group;
}

QWidget* PrivacyPage::makePreviews() {
    auto* group = new QGroupBox(q_("Previews"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(m_controls.checkBox(q_("&Load pictures"), "LoadImages"));
    layout->addWidget(explanationBelow(q_("Their servers learn that you look at the page again.")));
    layout->addWidget(m_controls.checkBox(q_("Let pages run &scripts"), "PreviewRunsScripts"));
    layout->addWidget(explanationBelow(
        q_("Some pages show nothing without them; with them, a page can tell its servers more.")));
    return group;
}

QWidget* PrivacyPage::makeData() {
    const std::string folder = m_program.session.indexes().indexFolder().value_or("");
    auto* group = new QGroupBox(q_("Your data"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(explanation(
        q_("Everything that Siftwell remembers lies in this folder and never leaves this "
           "computer.")));
    auto* path = new QLineEdit(toQString(folder));
    path->setReadOnly(true);
    path->setCursorPosition(0);
    path->setLayoutDirection(Qt::LeftToRight);
    path->setAccessibleName(q_("Folder of the index"));
    auto* open = new QPushButton(q_("&Open Folder"));
    connect(open, &QPushButton::clicked, this,
            [this, folder] { m_program.desktop.open(Url::fromFilePath(folder)); });
    auto* row = new QHBoxLayout;
    row->addWidget(path, 1);
    row->addWidget(open);
    layout->addLayout(row);
    auto* clear = new QPushButton(q_("&Clear the Index…"));
    connect(clear, &QPushButton::clicked, this,
            [this] { m_program.commands.clearIndex(window()); });
    layout->addWidget(clear, 0, Qt::AlignLeading);
    return group;
}

}  // namespace siftwell
