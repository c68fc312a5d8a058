// PreviewMessage: what stands in the preview in place of a page that cannot be shown.
//
// Threads: main.
#pragma once

#include <QWidget>

class QLabel;

namespace siftwell {

class PreviewMessage : public QWidget {
    Q_OBJECT

public:
    explicit PreviewMessage(QWidget* parent = nullptr);

    void setReason(const QString& why);
    QString reason() const;

Q_SIGNALS:
    void openRequested();

private:
    QLabel* m_reason;
};

}  // namespace siftwell
