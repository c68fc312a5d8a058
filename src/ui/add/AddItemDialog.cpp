#include "ui/add/AddItemDialog.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>
#include <utility>

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

// A file when there is any: for that alone there is a question.
AdditionKind kindOfAll(const QStringList& targets, const std::stop_token& stop) {
    AdditionKind kind = AdditionKind::Nothing;
    for (const QString& target : targets) {
        if (stop.stop_requested()) break;
        kind = additionKind(additionUrl(target));
        if (kind == AdditionKind::File) break;
    }
    return kind;
}

Result<Url> checkedUrl(const QString& target) {
    const auto url = additionUrl(target);
    if (!url) {
        return Status(StatusCode::Invalid, _("Please enter a valid URL to a page or document."));
    }
    if (url->isFile() && !QFileInfo::exists(toQString(url->path().value_or("")))) {
        return Status(StatusCode::NotFound,
                      filledIn(_("There is no file or folder named \"%@\". Please check its name."),
                               target.toStdString()));
    }
    return *url;
}

}  // namespace

AddItemDialog::AddItemDialog(const Program& program, const QStringList& targets, QWidget* parent)
    : QDialog(parent), m_program(program), m_thread(program.session.mainLoop(), "additions") {
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
    connect(m_indexer, &QComboBox::currentIndexChanged, this, [this] { showOutlook(); });
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
    connect(m_target, &QLineEdit::textChanged, this, [this] { showOutlook(); });
    return field;
}

QWidget* AddItemDialog::makeFileQuestion() {
    m_fileQuestion = new QWidget(this);
    m_fileQuestion->hide();
    auto* const choices = new QVBoxLayout(m_fileQuestion);
    choices->setContentsMargins({});
    m_contents = new QRadioButton(q_("&Index its words, so that it can be found"), m_fileQuestion);
    m_addresses = new QRadioButton(q_("Treat it as a list of &bookmarks, and index their pages"),
                                   m_fileQuestion);
    m_contents->setChecked(true);
    choices->addWidget(m_contents);
    choices->addWidget(m_addresses);
    connect(m_addresses, &QRadioButton::toggled, this, [this] { showOutlook(); });
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
    showOutlook();
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

void AddItemDialog::showOutlook() {
    m_problemRow->hide();
    m_thread.run([this, look = ++m_looks, targets = targets()](const std::stop_token& stop) {
        return [this, look, kind = kindOfAll(targets, stop)] {
            if (look != m_looks) return;
            m_fileQuestion->setVisible(kind == AdditionKind::File && !indexer());
            m_outlook->setText(additionOutlook(kind, fileUse(), indexer()));
        };
    });
}

Driver::FileUse AddItemDialog::fileUse() const {
    return m_addresses->isChecked() ? Driver::FileUse::ExtractURLs : Driver::FileUse::IndexContents;
}

std::optional<std::string> AddItemDialog::indexer() const {
    const QString indexer = m_indexer->currentData().toString();
    return indexer.isEmpty() ? std::nullopt : std::optional(indexer.toStdString());
}

// ---- Adding

void AddItemDialog::accept() {
    if (std::exchange(m_isAdding, true)) return;
    m_thread.run([this, targets = targets()](const std::stop_token& stop) {
        std::vector<Result<Url>> urls;
        for (const QString& target : targets) {
            if (stop.stop_requested()) break;
            urls.push_back(checkedUrl(target));
        }
        return [this, targets, urls = std::move(urls)] { add(targets, urls); };
    });
}

void AddItemDialog::add(const QStringList& targets, const std::vector<Result<Url>>& urls) {
    m_isAdding = false;
    std::vector<Driver::Addition> additions;
    for (const Result<Url>& url : urls) {
        if (!url) continue;
        additions.push_back({.url = *url,
                             .indexer = indexer(),
                             .fileUse = fileUse(),
                             .isScanStarted = m_isScanStarted});
    }
    const std::vector<Status> added = m_program.driver.addAllToIndex(additions);
    auto next = added.begin();
    QStringList left;
    QStringList problems;
    for (std::size_t i = 0; i < urls.size(); ++i) {
        const Status status = urls[i] ? *next++ : urls[i].status();
        if (status.isOk()) continue;
        left << targets[static_cast<qsizetype>(i)];
        problems << toQString(status.message());
    }
    if (left.isEmpty()) return QDialog::accept();
    if (left.size() < targets.size()) setTargets(left);
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
