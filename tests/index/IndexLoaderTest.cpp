#include "index/IndexLoader.h"

#include "index/IndexFixture.h"

namespace siftwell {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

using IndexLoaderTest = IndexFixture;

TEST_F(IndexLoaderTest, TellsOfEveryDocumentInFiftiesWhileIndexingIsOff) {
    for (int i = 0; i < 60; ++i) add("http://h/" + std::to_string(i), "w", "A");
    for (int i = 0; i < 50; ++i) add("http://i/" + std::to_string(i), "w", "B");
    store().skIndexForSource("A", "http", false)->properties->removeSKDocument(7);
    store().setPendingDocumentCount(3);
    end();
    store();
    EXPECT_THAT(m_summaries, ElementsAre(SizeIs(50), SizeIs(50), SizeIs(9)));
    const auto* first = m_summaries[0][0].asDictionary();
    EXPECT_EQ(stringFor(*first, "url"), "http://h/0");
    EXPECT_EQ(stringFor(*first, "source"), "A");
    EXPECT_EQ(stringFor(*first, "date"),
              Date::fromReference(1000).formattedLocally("%Y-%m-%d %H:%M"));
    EXPECT_EQ(stringFor(*m_summaries[2][8].asDictionary(), "url"), "http://i/49");
    EXPECT_TRUE(isLogged("Encountered URL with no properties: http://h/6"));
    EXPECT_EQ(store().documentCount(), 109);
    EXPECT_EQ(store().pendingDocumentCount(), 0);
    EXPECT_TRUE(store().indexingEnabled());
}

TEST_F(IndexLoaderTest, NumberOfDocumentsStaysWhenTheWalkIsBrokenOff) {
    for (int i = 0; i < 60; ++i) add("http://h/" + std::to_string(i), "w");
    for (const bool byItsEnd : {true, false}) {
        end();
        makeStore(Access::ReadWrite);
        m_store->takePriority();  // wherever the loader is, it goes no further
        std::jthread other([this, byItsEnd] {
            if (byItsEnd) m_store->closeIndex();
        });
        m_store->releasePriority();
        other.join();
        m_store->closeIndex();
        EXPECT_EQ(m_store->documentCount(), 60);
        EXPECT_EQ(m_settings->integer("DocumentCount"), 60);
        EXPECT_FALSE(m_store->indexingEnabled());
        EXPECT_FALSE(m_store->disableIndexing());
        m_loop.drain();
    }
}

}  // namespace
}  // namespace siftwell
