#include "DocumentListTest.h"

#include <algorithm>

namespace siftwell {

void DocumentListTest::init() {
    m_program = std::make_unique<UiProgram>();
    m_model = std::make_unique<DocumentModel>(m_program->session().mainLoop());
    m_lister = std::make_unique<DocumentLister>(m_program->session().indexes(),
                                                m_program->session().mainLoop(),
                                                [this](const DocumentListPointer& list) {
                                                    ++m_lists;
                                                    m_model->setList(list);
                                                });
}

void DocumentListTest::cleanup() {
    m_lister.reset();
    m_model.reset();
    m_program.reset();
}

void DocumentListTest::ask(DocumentQuery query) {
    const int before = m_lists;
    m_lister->setQuery(std::move(query));
    QTRY_VERIFY(m_lists > before && m_model->list().isComplete);
}

// Once they were all read.
QStringList DocumentListTest::addresses() {
    const auto text = [this](int row) {
        return m_model->data(m_model->index(row, 0), Qt::DisplayRole).toString();
    };
    QStringList result;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        [&] { QTRY_VERIFY(!text(row).isEmpty()); }();
        result << text(row);
    }
    return result;
}

void DocumentListTest::theNewestDocumentsOfAllSourcesStandFirst() {
    m_program->addPage("https://a.org/1", "One", "text", "Work", 100);
    m_program->addPage("http://b.org/2", "Two", "text", "Home", 300);
    m_program->addPage("https://c.org/3", "Three", "text", "Work", 200);
    ask({});
    QCOMPARE(addresses().join(u' '),
             QStringLiteral("http://b.org/2 https://c.org/3 https://a.org/1"));
    ask({.source = "Work", .isDescending = false});
    QCOMPARE(addresses().join(u' '), QStringLiteral("https://a.org/1 https://c.org/3"));
    QCOMPARE(sumOf(m_model->list().sizes).documents, std::uint64_t{3});
}

void DocumentListTest::documentsAreOrderedByAddressAndBySource() {
    m_program->addPage("https://b.org/", "B", "text", "Work", 1);
    m_program->addPage("http://c.org/", "C", "text", "Home", 2);
    m_program->addPage("http://a.org/", "A", "text", "Work", 3);
    ask({.order = DocumentOrder::Address, .isDescending = false});
    QCOMPARE(addresses().join(u' '), QStringLiteral("http://a.org/ https://b.org/ http://c.org/"));
    ask({.order = DocumentOrder::Source, .isDescending = false});
    QCOMPARE(addresses().join(u' '), QStringLiteral("http://c.org/ https://b.org/ http://a.org/"));
}

void DocumentListTest::allWordsOfTheFilterAreToBeInTheAddress() {
    m_program->addPage("https://example.org/M%C3%BCller", "M", "text");
    m_program->addPage("https://example.org/Other", "O", "text");
    for (const char* filter : {"EXAMPLE m\xC3\xBCller", "  org/m ", "%c3%bc"}) {
        ask({.filter = filter});
        QCOMPARE(addresses().join(u' '), QStringLiteral("https://example.org/Müller"));
    }
    ask({.filter = "example nowhere"});
    QCOMPARE(m_model->rowCount(), 0);
}

void DocumentListTest::whatComesAndGoesIsSeenWhileTheListIsFiltered() {
    m_program->addPage("https://keep.org/1", "One", "text", "Work", 1);
    m_program->addPage("https://keep.org/2", "Two", "text", "Work", 2);
    ask({.filter = "keep"});
    m_program->addPage("https://other.org/", "Other", "text", "Work", 3);
    m_program->addPage("http://keep.org/3", "Three", "text", "New", 4);  // in an index of its own
    m_lister->lookAgain();
    QTRY_COMPARE(m_model->rowCount(), 3);
    QCOMPARE(m_model->documentAt(0).date, 4);
    QVERIFY(m_program->driver().removeFromIndex({"https://keep.org/2"}));
    m_lister->lookAgain();
    QTRY_COMPARE(m_model->rowCount(), 2);
    QCOMPARE(addresses().join(u' '), QStringLiteral("http://keep.org/3 https://keep.org/1"));
    m_program->session().indexes().expireOlderThan(Date::distantFuture(), std::nullopt);
    m_lister->lookAgain();
    QTRY_COMPARE(m_model->rowCount(), 0);
}

void DocumentListTest::aNewerQueryTakesThePlaceOfOneThatIsUnderWay() {
    for (int i = 0; i < 20; ++i) {
        m_program->addPage("https://site.org/" + std::to_string(i), "Page", "text");
    }
    for (int i = 0; i < 20; ++i) m_lister->setQuery({.filter = "/" + std::to_string(i)});
    ask({.filter = "site.org/19"});
    QCOMPARE(m_model->rowCount(), 1);
    const int lists = m_lists;
    QTest::qWait(50);  // for those that were superseded to show, if they did
    QCOMPARE(m_lists, lists);
}

void DocumentListTest::everyDocumentIsListedOnceWhereThereAreManyPieces() {
    constexpr int kCount = 3500;
    IndexController& indexes = m_program->session().indexes();
    for (int i = 0; i < kCount; ++i) {
        indexes.addDataToIndex({.content = "word",
                                .readable = "word",
                                .url = Url::parse("https://x.org/" + std::to_string(i)).value(),
                                .source = i % 2 == 0 ? "Even" : "Odd",
                                .indexer = "Test",
                                .date = Date::fromReference(i * 7919 % kCount),
                                .title = "Title",
                                .cachePath = std::nullopt});
    }
    for (const DocumentOrder order : {DocumentOrder::Date, DocumentOrder::Address}) {
        ask({.order = order});
        QCOMPARE(m_model->rowCount(), kCount);
        std::vector<DocumentRow> rows = m_model->list().rows;
        if (order == DocumentOrder::Date) {
            QVERIFY(std::is_sorted(rows.begin(), rows.end(),
                                   [](const auto& a, const auto& b) { return a.date > b.date; }));
        }
        std::set<std::pair<int, unsigned>> seen;
        for (const DocumentRow& row : rows) seen.emplace(row.index, row.document);
        QCOMPARE(seen.size(), rows.size());
    }
}

void DocumentListTest::pagesAreCountedByTheirWeeks() {
    constexpr int kWeek = 7 * 24 * 60 * 60;
    constexpr int kMonday = 100 * kWeek;
    const std::pair<int, int> ages[] = {{3, 0}, {-1, 1}, {-kWeek, 1}, {-kWeek - 1, 2}};
    for (std::size_t i = 0; i < std::size(ages); ++i) {
        m_program->addPage("https://x.org/" + std::to_string(i), "Page", "text", "Pages",
                           kMonday + ages[i].first);
    }
    ask({.startOfWeek = kMonday});
    const auto& weeks = m_model->list().weeks;
    QCOMPARE(weeks[0], 1U);
    QCOMPARE(weeks[1], 2U);
    QCOMPARE(weeks[2], 1U);
}

}  // namespace siftwell
