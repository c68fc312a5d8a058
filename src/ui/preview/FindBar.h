// FindBar: the line in which a page is searched.
//
// Threads: main.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

namespace siftwell {

class FindBar : public QWidget {
    Q_OBJECT

public:
    explicit FindBar(QWidget* parent = nullptr);

    QString text() const;
    // Visible, with the cursor in its field.
    void begin();
    // Which of how many places is shown; 0 of 0 when there is none.
    void setFound(int active, int total);
    void forget();  // what was found

Q_SIGNALS:
    // Wanted: the next place of the text, or the one before. "" ends it.
    void findRequested(const QString& text, bool isBackward);
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void find(bool isBackward) { Q_EMIT findRequested(text(), isBackward); }
    void end();

    QLineEdit* m_field;
    QLabel* m_count;
};

}  // namespace siftwell
