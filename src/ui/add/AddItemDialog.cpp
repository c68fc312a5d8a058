#include "ui/add/AddItemDialog.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFormLayout>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "app/IndexerList.h"
#include "ui/Text.h"
#include "ui/add/AdditionText.h"

namespace siftwell {

namespace {

constexpr int kMaxTargets = 1000;

// As the user would type it.
QString shownTarget(const QString& target) {
    const QUrl url(target);
    return url.isLocalFile() ? url.toLocalFile() : target;
}

}  // namespace

AddItemDialog::AddItemDialog(const Program& program, const QStringList& targets, QWidget* parent)
    : QDialog(parent), m_program(program) {
    setWindowTitle(q_("Add to index"));
    setAcceptDrops(true);
    fillIndexers();
    arrange();
    setTargets(targets);
}

// ---- What stands in it

void AddItemDialog::fillIndexers() {
    m_indexer->setAccessibleName(q_("Read it as"));
    m_indexer->addItem(q_("What it looks like"));
    m_indexer->insertSeparator(1);
    for (const IndexerChoice& choice : indexerList()) {
        m_indexer->addItem(toQString(choice.displayName), toQString(choice.indexer));
    }
    m_indexer->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_indexer->setMinimumContentsLength(24);
    connect(m_indexer, &QComboBox::currentIndexChanged, this, [this] { update(); });
}

void AddItemDialog::arrange() {
    auto* const form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    QWidget* const field = makeTargetField();
    auto* const label = new QLabel(q_("&Address or file:"), this);
    label->setBuddy(m_target);
    form->addRow(label, field);
    form->addRow(q_("&Read it as:"), m_indexer);
    form->addRow(QString(), makeFileQuestion());
    m_outlook->setWordWrap(true);
    m_outlook->setMinimumHeight(2 * fontMetrics().lineSpacing());
    m_outlook->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_outlook->setAlignment(Qt::AlignLeading | Qt::AlignTop);
    form->addRow(QString(), m_outlook);
    m_problem->setWordWrap(true);
    m_problem->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_problem->setAccessibleName(q_("Problem"));
    auto* const icon = new QLabel(m_problemRow);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(side));
    auto* const problem = new QHBoxLayout(m_problemRow);
    problem->setContentsMargins({});
    problem->addWidget(icon, 0, Qt::AlignTop);
    problem->addWidget(m_problem, 1);
    m_problemRow->hide();
    m_buttons->setStandardButtons(QDialogButtonBox::Cancel);
    m_buttons->button(QDialogButtonBox::Cancel)->setText(q_("Cancel"));
    m_buttons->addButton(q_("A&dd"), QDialogButtonBox::AcceptRole)->setDefault(true);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &AddItemDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const all = new QVBoxLayout(this);
    all->addLayout(form, 1);
    all->addWidget(m_problemRow);
    all->addWidget(m_buttons);
    setMinimumWidth(80 * fontMetrics().averageCharWidth());
}

QWidget* AddItemDialog::makeTargetField() {
    auto* const field = new QWidget(this);
    auto* const row = new QHBoxLayout(field);
    row->setContentsMargins({});
    m_target->setAccessibleName(q_("Address, file or folder"));
    m_target->setPlaceholderText(QStringLiteral("https://…"));
    m_list->setAccessibleName(q_("What is to be added"));
    m_list->setMaximumHeight(8 * fontMetrics().height());
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->hide();
    auto* const browse = new QPushButton(q_("&Browse…"), field);
    auto* const choices = new QMenu(browse);
    choices->addAction(q_("&File…"), this, [this] { this->browse(false); });
    choices->addAction(q_("F&older…"), this, [this] { this->browse(true); });
    browse->setMenu(choices);
    browse->setAutoDefault(false);
    row->addWidget(m_target, 1);
    row->addWidget(m_list, 1);
    row->addWidget(browse, 0, Qt::AlignTop);
    connect(m_target, &QLineEdit::textChanged, this, [this] { update(); });
    return field;
}

QWidget* AddItemDialog::makeFileQuestion() {
    m_fileQuestion = new QWidget(this);
    auto* const choices = new QVBoxLayout(m_fileQuestion);
    choices->setContentsMargins({});
    m_contents = new QRadioButton(q_("&Index its words, so that it can be found"), m_fileQuestion);
    m_addresses = new QRadioButton(q_("Treat it as a list of &bookmarks, and index their pages"),
                                   m_fileQuestion);
    m_contents->setChecked(true);
    choices->addWidget(m_contents);
    choices->addWidget(m_addresses);
    connect(m_addresses, &QRadioButton::toggled, this, [this] { update(); });
    return m_fileQuestion;
}

// ---- What is to be added

void AddItemDialog::setTargets(const QStringList& targets) {
    const bool isList = targets.size() > 1;
    m_list->clear();
    for (const QString& target : targets.mid(0, kMaxTargets)) {
        if (isList) m_list->addItem(shownTarget(target));
    }
    m_target->setText(isList || targets.isEmpty() ? QString() : shownTarget(targets.front()));
    m_list->setVisible(isList);
    m_target->setVisible(!isList);
    (isList ? static_cast<QWidget*>(m_list) : m_target)->setFocus();
    update();
}

QStringList AddItemDialog::targets() const {
    if (m_list->count() == 0) return {m_target->text().trimmed()};
    QStringList targets;
    for (int i = 0; i < m_list->count(); ++i) targets << m_list->item(i)->text();
    return targets;
}

void AddItemDialog::browse(bool isFolder) {
    auto* const dialog = new QFileDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(isFolder ? QFileDialog::Directory : QFileDialog::ExistingFiles);
    dialog->setOption(QFileDialog::ShowDirsOnly, isFolder);
    connect(dialog, &QFileDialog::filesSelected, this,
            [this](const QStringList& files) { setTargets(files); });
    dialog->open();
}

void AddItemDialog::update() {
    AdditionKind kind = AdditionKind::Nothing;
    bool isFileThere = false;
    for (const QString& target : targets()) {
        kind = additionKind(additionUrl(target));
        isFileThere = isFileThere || kind == AdditionKind::File;
        if (isFileThere) break;
    }
    m_fileQuestion->setVisible(isFileThere && !indexer());
    m_outlook->setText(additionOutlook(kind, fileUse(), indexer()));
    m_problemRow->hide();
}

Driver::FileUse AddItemDialog::fileUse() const {
    return m_addresses->isChecked() ? Driver::FileUse::ExtractURLs : Driver::FileUse::IndexContents;
}

std::optional<std::string> AddItemDialog::indexer() const {
    const QString indexer = m_indexer->currentData().toString();
    return indexer.isEmpty() ? std::nullopt : std::optional(indexer.toStdString());
}

// ---- Adding

Status AddItemDialog::add(const QString& target, bool isLast) {
    const auto url = additionUrl(target);
    if (!url) return {StatusCode::Invalid, _("Please enter a valid URL to a page or document.")};
    if (url->isFile() && !QFileInfo::exists(toQString(url->path().value_or("")))) {
        return {StatusCode::NotFound,
                filledIn(_("There is no file or folder named \"%@\". Please check its name."),
                         target.toStdString())};
    }
    return m_program.driver.addToIndex({.url = *url,
                                        .indexer = indexer(),
                                        .fileUse = fileUse(),
                                        .isScanStarted = isLast && m_isScanStarted});
}

void AddItemDialog::accept() {
    const QStringList all = targets();
    QStringList left;
    QStringList problems;
    for (qsizetype i = 0; i < all.size(); ++i) {
        const Status status = add(all[i], i == all.size() - 1);
        if (status.isOk()) continue;
        left << all[i];
        problems << toQString(status.message());
    }
    if (left.isEmpty()) return QDialog::accept();
    if (left.size() < all.size()) setTargets(left);
    problems.removeDuplicates();
    sayWhatIsWrong(problems.mid(0, 3).join(u'\n'));
}

void AddItemDialog::sayWhatIsWrong(const QString& text) {
    m_problem->setText(text);
    m_problemRow->show();
    m_problem->setAccessibleDescription(text);
    m_target->setFocus();
    m_target->selectAll();
}

// ---- What is dropped

void AddItemDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() || event->mimeData()->hasText()) event->acceptProposedAction();
}

void AddItemDialog::dropEvent(QDropEvent* event) {
    QStringList dropped;
    for (const QUrl& url : event->mimeData()->urls()) {
        dropped << QString::fromLatin1(url.toEncoded());
    }
    if (dropped.isEmpty()) dropped << event->mimeData()->text();
    event->acceptProposedAction();
    setTargets(dropped);
}

}  // namespace siftwell
