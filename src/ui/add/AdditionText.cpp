#include "ui/add/AdditionText.h"

#include <QFileInfo>

#include "base/Paths.h"
#include "ui/Text.h"

namespace siftwell {

namespace {

// "example.org", "localhost:8000/x"; not "notes.txt and more".
bool looksLikeHost(const QString& text) {
    static const QRegularExpression host(
        QStringLiteral("^([\\w-]+(\\.[\\w-]+)+|localhost)(:\\d+)?([/?#].*)?$"),
        QRegularExpression::UseUnicodePropertiesOption);
    return host.match(text).hasMatch();
}

}  // namespace

std::optional<Url> additionUrl(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    const std::string path = expandingTilde(trimmed.toStdString());
    if (path.starts_with('/')) return Url::fromFilePath(path);
    const QString completed =
        looksLikeHost(trimmed) ? QStringLiteral("https://") + trimmed : trimmed;
    return Url::parse(percentEncoded(completed.toStdString()));
}

AdditionKind additionKind(const std::optional<Url>& url) {
    if (!url || !url->hasScheme()) return AdditionKind::Nothing;
    if (!url->isFile()) return AdditionKind::Page;
    return QFileInfo(toQString(url->path().value_or(""))).isDir() ? AdditionKind::Folder
                                                                  : AdditionKind::File;
}

QString additionOutlook(AdditionKind kind, Driver::FileUse use,
                        const std::optional<std::string>& indexer) {
    if (indexer && *indexer != "LocalFiles" && *indexer != "SingleURL") {
        return q_("It becomes a source that is read at every scan.");
    }
    switch (kind) {
        case AdditionKind::Page:
            return q_("The page is fetched and indexed once, now.");
        case AdditionKind::Folder:
            return q_("All files in the folder are indexed once, now.");
        case AdditionKind::File:
            return use == Driver::FileUse::ExtractURLs
                       ? q_("The pages that it names are fetched and indexed, at every scan.")
                       : q_("The file is indexed once, now.");
        case AdditionKind::Nothing:
            break;
    }
    return q_("A web address, a file or a folder. You can also drop it here.");
}

}  // namespace siftwell
