// What the web engine may do for a previewed page, and what it keeps of it: nothing.
//
// Threads: main.
#pragma once

#include <QWebEngineProfile>
#include <memory>

#include "ui/preview/PreviewEngine.h"

namespace siftwell {

// Off the record. The engine is started when this is called the first time.
std::unique_ptr<QWebEngineProfile> makePreviewProfile(const PreviewRights& rights);

}  // namespace siftwell
