#include "ResultModelTest.h"

#include <QElapsedTimer>
#include <QScrollBar>

#include "ui/QtRunLoop.h"

namespace siftwell {

namespace {

FoundRow row(float score, const std::string& title = "t", double date = 0) {
    FoundRow result;
    result.url = "http://host.example/" + title;
    result.title = title;
    result.score = score;
    result.moment = Date::fromReference(date);
    return result;
}

QString titles(const ResultModel& model) {
    QStringList result;
    for (int i = 0; i < model.rowCount(); ++i) {
        result << model.index(i, ResultModel::TitleColumn).data().toString();
    }
    return result.join(QLatin1Char(' '));
}

std::vector<FoundRow> rows(int count, int seed) {
    std::vector<FoundRow> result;
    for (int i = 0; i < count; ++i) {
        const int number = (i * 7919 + seed * 104'729) % 1'000'003;
        result.push_back(
            row(static_cast<float>(number), "Title " + std::to_string(number), number));
    }
    return result;
}

}  // namespace

void ResultModelTest::batchesAreSortedInByTheSortThatHolds() {
    ResultModel model;
    const QAbstractItemModelTester tester(&model);
    model.append({row(1, "b", 3), row(5, "Éa", 1)}, 5);
    model.append({row(3, "c", 2), row(5, "x", 9)}, 5);
    QCOMPARE(titles(model), QStringLiteral("Éa x c b"));
    model.sort(ResultModel::TitleColumn, Qt::AscendingOrder);
    model.append({row(9, "d", 4)}, 9);
    QCOMPARE(titles(model), QStringLiteral("b c d Éa x"));
    model.sort(ResultModel::DateColumn, Qt::DescendingOrder);
    model.removeAt(0);
    QCOMPARE(titles(model), QStringLiteral("d b c Éa"));
    QCOMPARE(model.index(0, 0).data(ResultModel::kRelevanceRole).toDouble(), 1.0);
}

// One site, texts that are the beginning of others, the same text twice, long ones.
void ResultModelTest::textsThatBeginAlikeAreSortedAsTheyAreCompared() {
    const std::string site(40, 's');
    std::vector<std::string> texts{"", "a", std::string("a\0", 2), std::string(5000, 's')};
    for (int i = 0; i < 60; ++i) {
        texts.push_back(site + std::string(static_cast<std::size_t>(i % 7) * 9, 'x') +
                        std::to_string(i * 37 % 50));
    }
    texts.emplace_back(4999, 's').append("r");
    std::vector<FoundRow> all;
    for (const std::string& text : texts) all.push_back(row(1, text));
    for (const auto order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        ResultModel model;
        model.append(all, 1);
        model.sort(ResultModel::AddressColumn, order);
        std::vector<std::string> expected = texts;
        std::stable_sort(expected.begin(), expected.end(), [order](const auto& a, const auto& b) {
            return order == Qt::AscendingOrder ? a < b : b < a;
        });
        for (std::size_t i = 0; i < expected.size(); ++i) {
            QCOMPARE(model.rowAt(static_cast<int>(i)).title, expected[i]);
        }
        // What comes later finds its place between them.
        model.append({row(1, site + "x")}, 1);
        const auto at =
            order == Qt::AscendingOrder
                ? std::lower_bound(expected.begin(), expected.end(), site + "x")
                : std::lower_bound(expected.begin(), expected.end(), site + "x", std::greater<>());
        QCOMPARE(model.rowAt(static_cast<int>(at - expected.begin())).title, site + "x");
    }
}

void ResultModelTest::selectionAndPlaceStayWhileBatchesArrive() {
    ResultModel model;
    const auto loop = makeQtRunLoop();
    Snippets snippets(*loop);
    ResultView view(model, snippets);
    view.resize(400, 300);
    view.show();
    model.append(rows(300, 1), 2e6F);
    QCoreApplication::processEvents();
    view.selectRowAt(200);
    const QString selected = titles(model).split(QStringLiteral(" Title "))[200];
    const int top = view.visualRect(view.currentIndex()).top();
    for (int i = 2; i < 6; ++i) model.append(rows(100, i), 2e6F);
    QCOMPARE(view.selectedRow(), view.currentIndex().row());
    QVERIFY(view.currentIndex().data().toString().endsWith(selected));
    QCOMPARE(view.visualRect(view.currentIndex()).top(), top);

    // With nothing selected, the uppermost row stays, unless it is the first of all.
    view.clearSelection();
    const QPersistentModelIndex uppermost = model.index(view.rowAt(0), ResultModel::TitleColumn);
    const int uppermostTop = view.visualRect(uppermost).top();
    model.append({row(2e6F, "best")}, 2e6F);
    QCOMPARE(view.visualRect(uppermost).top(), uppermostTop);
    view.verticalScrollBar()->setValue(0);
    model.append({row(3e6F, "better")}, 3e6F);
    QCOMPARE(view.rowAt(0), 0);
}

void ResultModelTest::aBoundedListKeepsTheBest() {
    ResultModel model(3);
    const QAbstractItemModelTester tester(&model);
    model.append({row(1, "a"), row(2, "b"), row(3, "c"), row(4, "d")}, 4);
    model.append({row(0, "z"), row(9, "e")}, 9);
    QCOMPARE(titles(model), QStringLiteral("e d c"));
}

// Told, not judged: other work on the machine counts too.
void ResultModelTest::longListsArriveInShortTurns() {
    ResultModel model;
    const auto loop = makeQtRunLoop();
    Snippets snippets(*loop);
    ResultView view(model, snippets);
    view.resize(800, 600);
    view.show();
    qint64 longest = 0;
    const auto turn = [&longest](const auto& work) {
        QElapsedTimer clock;
        clock.start();
        work();
        QCoreApplication::processEvents();
        longest = std::max(longest, clock.nsecsElapsed() / 1000);
    };
    for (int i = 0; i < 100; ++i) turn([&] { model.append(rows(100, i), 2e6F); });
    qInfo("10,000 rows in 100 batches: longest turn %lld us", longest);
    QCOMPARE(model.rowCount(), 10'000);
    longest = 0;
    for (int i = 0; i < 90; ++i) turn([&] { model.append(rows(1000, i), 2e6F); });
    qInfo("100,000 rows: longest turn %lld us", longest);
    for (const int column : {ResultModel::TitleColumn, ResultModel::AddressColumn}) {
        longest = 0;
        turn([&] { model.sort(column, Qt::AscendingOrder); });
        qInfo("100,000 rows sorted by column %d: %lld us", column, longest);
    }
    QCOMPARE(model.rowCount(), 100'000);
}

}  // namespace siftwell
