// SearchField: where the words are typed.
//
// Threads: main.
#pragma once

#include <QLineEdit>
#include <QMenu>
#include <QTimer>

#include "base/Settings.h"

namespace siftwell {

class SearchField : public QLineEdit {
    Q_OBJECT

public:
    // The menu, if any, drops down from the field's end and by Alt+Down. Borrowed, as the settings.
    SearchField(const Settings& settings, QMenu* recent, QWidget* parent = nullptr);

    // Without a search that follows.
    void showText(const QString& text);
    void focusAll();
    // Whether the text was changed since it was last searched for.
    bool isChanged() const { return m_isChanged; }

Q_SIGNALS:
    // The typing has come to rest, where the user wants to see results while typing.
    void rested();
    void entered();
    void downPressed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;

private:
    void dropMenu();

    const Settings& m_settings;
    QMenu* m_recent;
    QTimer m_rest;
    bool m_isChanged = false;
};

}  // namespace siftwell
