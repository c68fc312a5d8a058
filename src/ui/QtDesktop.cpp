#include "ui/QtDesktop.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

#include "ui/Text.h"

namespace siftwell {

bool QtDesktop::open(const Url& url) {
    return QDesktopServices::openUrl(
        QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString())));
}

void QtDesktop::copy(const Url& url, const std::string& text) {
    auto* data = new QMimeData;  // the clipboard's from now on
    data->setUrls({QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString()))});
    data->setText(toQString(text));
    QGuiApplication::clipboard()->setMimeData(data);
}

}  // namespace siftwell
