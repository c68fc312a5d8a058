#include "ui/preview/PreviewEngine.h"

#include <QCoreApplication>
#include <QFile>
#include <QLibrary>

#include "base/Log.h"

namespace siftwell {

namespace {

// Beside the program, or where it is installed.
QString modulePath() {
    const QString folder = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    const QString beside = folder + QStringLiteral("siftwell-preview.so");
    return QFile::exists(beside) ? beside : folder + QStringLiteral(SIFTWELL_PREVIEW_MODULE);
}

}  // namespace

std::unique_ptr<PreviewEngine> loadPreviewEngine() {
    using Make = PreviewEngine* (*)();
    QLibrary module(modulePath());
    const auto make = reinterpret_cast<Make>(module.resolve("siftwellMakePreviewEngine"));
    if (make != nullptr) return std::unique_ptr<PreviewEngine>(make());
    writeLog("No preview: " + module.errorString().toStdString());
    return nullptr;
}

}  // namespace siftwell
