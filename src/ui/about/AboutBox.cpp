#include "ui/about/AboutBox.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "ui/Text.h"

namespace siftwell {

namespace {

struct Library {
    const char* name;
    const char* licence;
};

constexpr Library kLibraries[] = {{"Qt", "LGPL-3.0"},
                                  {"Qt WebEngine (Chromium)", "LGPL-3.0, BSD-3-Clause"},
                                  {"libcurl", "curl"},
                                  {"SQLite", "public domain"},
                                  {"ICU", "ICU"},
                                  {"libplist", "LGPL-2.1-or-later"},
                                  {"pugixml", "MIT"},
                                  {"nlohmann-json", "MIT"},
                                  {"CLI11", "BSD-3-Clause"},
                                  {"zstd", "BSD-3-Clause"},
                                  {"lz4", "BSD-2-Clause"},
                                  {"brotli", "MIT"},
                                  {"zlib", "Zlib"},
                                  {"xxHash", "BSD-2-Clause"},
                                  {"libseccomp", "LGPL-2.1-only"},
                                  {"libsystemd", "LGPL-2.1-or-later"},
                                  {"sdbus-c++", "LGPL-2.1-or-later"},
                                  {"libsecret", "LGPL-2.1-or-later"}};

}  // namespace

AboutBox::AboutBox(const Program& program, QWidget* parent) : QDialog(parent), m_program(program) {
    setWindowTitle(q_("About Siftwell"));
    auto* const all = new QVBoxLayout(this);
    all->addWidget(makeHead());
    all->addWidget(makePlaces());
    all->addWidget(makeLibraries(), 1);
    all->addWidget(makeFoot());
    resize(76 * fontMetrics().averageCharWidth(), 30 * fontMetrics().height());
}

QWidget* AboutBox::makeHead() {
    auto* const head = new QLabel(this);
    head->setTextFormat(Qt::RichText);
    head->setTextInteractionFlags(Qt::TextSelectableByMouse);
    head->setWordWrap(true);
    const QString version =
        toQString(filledIn(_("Version %@"), QApplication::applicationVersion().toStdString()));
    head->setText(QStringLiteral("<h2>Siftwell</h2><p>%1</p><p>%2</p>")
                      .arg(version.toHtmlEscaped(),
                           q_("Remembers the text of the pages you saw, and finds them again by "
                              "their words.")
                               .toHtmlEscaped()));
    return head;
}

QWidget* AboutBox::makePlaces() {
    auto* const places = new QGroupBox(q_("Where your data lies"), this);
    auto* const form = new QFormLayout(places);
    const auto addPlace = [&](const QString& what, const std::string& folder) {
        auto* const link = new QLabel(places);
        link->setTextFormat(Qt::RichText);
        link->setWordWrap(true);
        link->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard |
                                      Qt::TextSelectableByMouse);
        const QString path = toQString(folder);
        link->setText(QStringLiteral("<a href=\"folder\">%1</a>").arg(path.toHtmlEscaped()));
        link->setAccessibleName(what + u' ' + path);
        link->setToolTip(q_("Opens the folder"));
        connect(link, &QLabel::linkActivated, this,
                [this, folder] { m_program.desktop.open(Url::fromFilePath(folder)); });
        form->addRow(what, link);
    };
    const Paths& paths = m_program.session.paths();
    if (const auto& index = m_program.session.indexes().indexFolder()) {
        addPlace(q_("Index:"), *index);
    }
    addPlace(q_("Settings:"), QFileInfo(toQString(paths.settingsFile)).path().toStdString());
    addPlace(q_("Logs:"), paths.stateFolder);
    return places;
}

QWidget* AboutBox::makeLibraries() {
    auto* const group = new QGroupBox(q_("Built with"), this);
    auto* const column = new QVBoxLayout(group);
    auto* const list = new QTreeWidget(group);
    list->setAccessibleName(q_("Libraries and their licences"));
    list->setHeaderLabels({q_("Library"), q_("Licence")});
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    for (const Library& library : kLibraries) {
        new QTreeWidgetItem(
            list, {QString::fromLatin1(library.name), QString::fromLatin1(library.licence)});
    }
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    column->addWidget(list);
    return group;
}

QWidget* AboutBox::makeFoot() {
    auto* const buttons = new QDialogButtonBox(this);
    const auto addPage = [&](const QString& text, int tag) {
        QPushButton* const button = buttons->addButton(text, QDialogButtonBox::HelpRole);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this,
                [this, tag] { m_program.commands.goToURL(tag); });
    };
    addPage(q_("&Feedback"), 0);
    addPage(q_("&Support"), 1);
    QPushButton* const close = buttons->addButton(q_("&Close"), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    close->setFocus();
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    return buttons;
}

}  // namespace siftwell
