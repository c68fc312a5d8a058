#include "ui/search/PreviewTimer.h"

#include <QApplication>
#include <utility>

namespace siftwell {

namespace {

constexpr std::chrono::milliseconds kRestOfSelection(1000);

}  // namespace

PreviewTimer::PreviewTimer(std::function<int()> height, QObject* parent)
    : QObject(parent), m_height(std::move(height)) {
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &PreviewTimer::previewWanted);
}

void PreviewTimer::clicked() {
    if (m_height() < 1) return Q_EMIT openWanted();
    m_timer.start(QApplication::doubleClickInterval());
}

void PreviewTimer::doubleClicked() {
    if (m_height() >= 1) Q_EMIT openWanted();
}

// A preview of a single line is as good as shut here, though not for a click.
void PreviewTimer::selectionMoved() {
    if (m_height() > 1) m_timer.start(kRestOfSelection);
}

}  // namespace siftwell
