#include "ui/Text.h"

#include <QLocale>
#include <QUrl>

namespace siftwell {

QString counted(const char* one, const char* many, qint64 count) {
    const std::string number = QLocale().toString(count).toStdString();
    return toQString(filledIn(localized(count == 1 ? one : many), number));
}

QString readableAddress(const std::string& address) {
    const QUrl url = QUrl::fromEncoded(QByteArray::fromStdString(address));
    return url.isValid() ? url.toDisplayString() : toQString(address);
}

}  // namespace siftwell
