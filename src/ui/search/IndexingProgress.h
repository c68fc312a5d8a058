// IndexingProgress: what is being indexed, and how much of it is done, in a corner of a window.
//
// Threads: main.
#pragma once

#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QWidget>
#include <map>
#include <string>
#include <vector>

#include "base/NotificationCentre.h"

namespace siftwell {

class IndexingProgress : public QWidget {
    Q_OBJECT

public:
    explicit IndexingProgress(NotificationCentre& centre, QWidget* parent = nullptr);

    QString text() const { return m_text->text(); }

private:
    struct Source {
        std::int64_t count = 0;
        std::int64_t done = 0;
    };

    void started(const PropertyList& report);
    void finished(const PropertyList& report);
    void showLater(const std::string& source);
    void showNow();

    std::map<std::string, Source> m_sources;
    std::string m_last;
    QLabel* m_text;
    QProgressBar* m_bar;
    QTimer m_pause;
    std::vector<NotificationCentre::Observation> m_observations;
};

}  // namespace siftwell
