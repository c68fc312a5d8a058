#include "ui/search/DroppedTargets.h"

#include <QUrl>

namespace siftwell {

QStringList droppedTargets(const QMimeData& data) {
    QStringList targets;
    for (const QUrl& url : data.urls()) targets << QString::fromLatin1(url.toEncoded());
    if (!targets.isEmpty()) return targets;
    for (const QString& line : data.text().split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QUrl url(line.trimmed());
        if (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) {
            targets << QString::fromLatin1(url.toEncoded());
        }
    }
    return targets;
}

}  // namespace siftwell
