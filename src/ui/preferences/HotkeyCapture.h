// HotkeyCapture: the sheet that waits for the user to press the new hot key.
//
// Threads: main.
#pragma once

#include <QDialog>
#include <QPushButton>

#include "ui/desktop/HotKey.h"

namespace siftwell {

// Catches the keys that can be a hot key; others work as everywhere.
class HotkeyView : public QWidget {
    Q_OBJECT

public:
    explicit HotkeyView(const HotKey& key);

    const HotKey& key() const { return m_key; }
    QSize sizeHint() const override;

Q_SIGNALS:
    void caught();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    HotKey m_key;
};

enum class HotkeyAnswer { Cancel = 0, Accept = 1, Clear = 2 };

class HotkeyCapture : public QDialog {
    Q_OBJECT

public:
    HotkeyCapture(const HotKey& key, QWidget* parent);

    const HotKey& key() const { return m_view->key(); }
    HotkeyView& view() { return *m_view; }

Q_SIGNALS:
    void answered(HotkeyAnswer answer);

protected:
    void reject() override { Q_EMIT answered(HotkeyAnswer::Cancel); }

private:
    HotkeyView* m_view;
};

}  // namespace siftwell
