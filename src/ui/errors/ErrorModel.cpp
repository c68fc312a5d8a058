#include "ui/errors/ErrorModel.h"

#include <QApplication>
#include <QDateTime>
#include <QLocale>
#include <QStyle>
#include <utility>

#include "ui/Text.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxErrors = 20'000;

// 9: the index or the settings are in danger; 5 to 8: something was not done; below: a page.
enum class Severity { Note, Problem, Serious };

Severity severityOf(std::int64_t number) {
    if (number >= 9) return Severity::Serious;
    return number >= 5 ? Severity::Problem : Severity::Note;
}

QIcon iconOf(Severity severity) {
    const auto icon = [](QStyle::StandardPixmap pixmap) {
        return QApplication::style()->standardIcon(pixmap);
    };
    switch (severity) {
        case Severity::Serious:
            return icon(QStyle::SP_MessageBoxCritical);
        case Severity::Problem:
            return icon(QStyle::SP_MessageBoxWarning);
        case Severity::Note:
            break;
    }
    return icon(QStyle::SP_MessageBoxInformation);
}

QString timeText(const LoggedError& error) {
    const QString written = toQString(error.date);
    const auto time = QDateTime::fromString(written, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return time.isValid() ? QLocale().toString(time, QLocale::ShortFormat) : written;
}

}  // namespace

QString severityWord(std::int64_t severity) {
    switch (severityOf(severity)) {
        case Severity::Serious:
            return q_("Serious");
        case Severity::Problem:
            return q_("Problem");
        case Severity::Note:
            break;
    }
    return q_("Note");
}

void ErrorModel::setErrors(std::vector<LoggedError> oldestFirst) {
    beginResetModel();
    m_errors = std::move(oldestFirst);
    endResetModel();
}

void ErrorModel::add(LoggedError error) {
    if (m_errors.size() >= kMaxErrors) {
        beginRemoveRows({}, rowCount() - 1, rowCount() - 1);
        m_errors.erase(m_errors.begin());
        endRemoveRows();
    }
    beginInsertRows({}, 0, 0);
    m_errors.push_back(std::move(error));
    endInsertRows();
}

const LoggedError& ErrorModel::errorAt(int row) const {
    return m_errors[m_errors.size() - 1 - static_cast<std::size_t>(row)];
}

QString ErrorModel::textOf(int row) const {
    const LoggedError& error = errorAt(row);
    QStringList lines{severityWord(error.severity) + QStringLiteral(" · ") + timeText(error)};
    for (const std::string& text : {error.error, error.details, error.url}) {
        if (!text.empty()) lines << toQString(text);
    }
    return lines.join(u'\n');
}

int ErrorModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_errors.size());
}

int ErrorModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ErrorModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const LoggedError& error = errorAt(index.row());
    const int column = index.column();
    if (role == Qt::DecorationRole && column == SeverityColumn) {
        return iconOf(severityOf(error.severity));
    }
    if (role == Qt::ToolTipRole && column == AddressColumn) return toQString(error.url);
    if (role != Qt::DisplayRole) return {};
    switch (column) {
        case SeverityColumn:
            return severityWord(error.severity);
        case MessageColumn:
            return toQString(error.error);
        case AddressColumn:
            return toQString(error.url);
        default:
            return timeText(error);
    }
}

QVariant ErrorModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeading | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    switch (section) {
        case SeverityColumn:
            return q_("Severity");
        case MessageColumn:
            return q_("Message");
        case AddressColumn:
            return q_("Address");
        default:
            return q_("Time");
    }
}

}  // namespace siftwell
