// PreviewTimer: when the preview follows the selected row.
//
// A click waits for the time in which a second one would make it a double click, and a selection
// that moves comes to rest first. With the preview shut, a click opens the page in the browser, and
// the second of a double click does no more.
//
// Threads: main.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

namespace siftwell {

class PreviewTimer : public QObject {
    Q_OBJECT

public:
    // How tall the preview is; 0 when it is shut or there is none.
    explicit PreviewTimer(std::function<int()> height, QObject* parent = nullptr);

    void clicked();
    void doubleClicked();
    void selectionMoved();
    void cancel() { m_timer.stop(); }
    bool isPending() const { return m_timer.isActive(); }

Q_SIGNALS:
    void previewWanted();
    void openWanted();

private:
    std::function<int()> m_height;
    QTimer m_timer;
};

}  // namespace siftwell
