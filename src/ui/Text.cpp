#include "ui/Text.h"

#include <QLocale>

namespace siftwell {

QString counted(const char* one, const char* many, qint64 count) {
    const std::string number = QLocale().toString(count).toStdString();
    return toQString(filledIn(localized(count == 1 ? one : many), number));
}

}  // namespace siftwell
