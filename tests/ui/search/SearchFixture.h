// SearchFixture: the search window over a real program, with a preview that notes what it is shown.
#pragma once

#include "ui/search/SearchWindow.h"
#include "ui/search/SearchWindows.h"
#include "ui/support/UiProgram.h"

namespace siftwell {

class NotedPreview : public PreviewPane {
public:
    using PreviewPane::PreviewPane;

    void showRow(const ResultRow& row, const std::string&) override {
        shown << toQString(row.url);
        setURL(toQString(row.url));
    }
    void blank() override { setURL(QString()); }
    QString webURL() const override { return m_url; }
    void performFindPanelAction(int tag) override { finds << tag; }

    QStringList shown;
    QList<int> finds;

private:
    void setURL(const QString& url) {
        m_url = url;
        Q_EMIT webURLChanged(url);
    }

    QString m_url;
};

class SearchFixture {
public:
    static constexpr int kLongest = 10'000;

    SearchFixture() = default;

    SearchWindow& open() {
        m_windows = std::make_unique<SearchWindows>(program.program(), [this](QWidget* parent) {
            return preview = new NotedPreview(parent);
        });
        m_windows->show();
        return window();
    }
    SearchWindows& windows() { return *m_windows; }
    SearchWindow& window() { return *m_windows->mainWindow(); }

    void pages(int count, const std::string& source = "Pages") {
        for (int i = 0; i < count; ++i) {
            const std::string number = std::to_string(i);
            program.addPage("http://host" + number + ".example/page/" + number, "Title " + number,
                            "apple banana" + number, source, 700'000'000 + i);
        }
    }
    // Types the text and presses Return; true when no more rows will come.
    bool search(const QString& text) {
        window().field().showText(text);
        window().field().setFocus();
        QTest::keyClick(&window().field(), Qt::Key_Return);
        return rest();
    }
    bool rest() {
        return QTest::qWaitFor([this] { return window().statusText().indexOf(QChar(0x2026)) < 0; },
                               kLongest);
    }
    int rowCount() { return window().view().model()->rowCount(); }
    QString title(int row) {
        return window().view().model()->index(row, ResultModel::TitleColumn).data().toString();
    }
    QPoint placeOf(int row) {
        ResultView& view = window().view();
        return view.visualRect(view.model()->index(row, ResultModel::TitleColumn)).center();
    }
    void click(int row) {
        QTest::mouseClick(window().view().viewport(), Qt::LeftButton, {}, placeOf(row));
    }
    QAction* action(const QString& text) {
        for (QAction* each : window().findChildren<QAction*>()) {
            if (each->text() == text) return each;
        }
        return nullptr;
    }

    UiProgram program;
    NotedPreview* preview = nullptr;

private:
    std::unique_ptr<SearchWindows> m_windows;
};

}  // namespace siftwell
