#include "fulltext/Index.h"

#include <gmock/gmock.h>

#include <fstream>
#include <thread>

#include "fulltext/Search.h"
#include "support/LongForm.h"
#include "support/TemporaryFolder.h"

namespace siftwell::fulltext {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Access = Index::Access;

class IndexTest : public testing::Test {
protected:
    std::string path() const { return m_folder.file("pages.http"); }

    std::unique_ptr<Index> create(const IndexSettings& settings = {.internalName = "pages.http"}) {
        auto index = Index::create(path(), settings, m_surroundings);
        EXPECT_TRUE(index) << index.status().message();
        return *std::move(index);
    }

    Result<std::unique_ptr<Index>> open(Access access,
                                        const std::optional<std::string>& name = {}) {
        return Index::open(path(), name, access, m_surroundings);
    }

    static DocumentID add(Index& index, const std::string& name, const std::string& text) {
        const auto added = index.add({"http", name}, text, text);
        EXPECT_TRUE(added) << added.status().message();
        return added ? added->id : 0;
    }

    static std::vector<DocumentID> find(const Index& index, std::string_view query) {
        const auto matches = index.search(query)->findMatches(100000, std::chrono::seconds(10));
        EXPECT_TRUE(matches) << matches.status().message();
        std::vector<DocumentID> found;
        if (matches) {
            for (const Hit& hit : matches->hits) found.push_back(hit.document);
        }
        return found;
    }

    // Segments that were ever written.
    std::size_t segmentsInFile() const {
        std::ifstream file(path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        std::size_t count = 0;
        for (std::size_t at = 0; (at = bytes.find("SEGM", at)) != std::string::npos; ++at) ++count;
        return count;
    }

    TemporaryFolder m_folder;
    Index::Surroundings m_surroundings;
};

TEST_F(IndexTest, DocumentGoesThroughItsStatesAndKeepsItsNumberThroughCompaction) {
    const auto index = create();
    const DocumentID first = add(*index, "//a/", "alpha beta");
    const DocumentID second = add(*index, "//b/", "beta gamma");
    EXPECT_EQ(index->stateOf(first), DocumentState::Pending);
    ASSERT_TRUE(index->flush().isOk());
    EXPECT_EQ(index->stateOf(first), DocumentState::Indexed);
    EXPECT_EQ(**index->documentWith({"http", "//b/"}), second);
    EXPECT_FALSE(index->documentWith({"https", "//b/"})->has_value());

    ASSERT_TRUE(index->remove(first).isOk());
    EXPECT_EQ(index->remove(first).code(), StatusCode::NotFound);
    ASSERT_TRUE(index->flush().isOk());
    ASSERT_TRUE(index->compact().isOk());
    EXPECT_EQ(index->stateOf(first), DocumentState::NotIndexed);
    EXPECT_THAT(index->documentsBehind(0, 10), ElementsAre(second));
    EXPECT_THAT(find(*index, "beta"), ElementsAre(second));
    EXPECT_EQ(index->keyOf(second)->name, "//b/");
}

TEST_F(IndexTest, ReplacedDocumentGetsANewNumberAndTheOldOneIsTold) {
    auto index = create();
    const DocumentID old = add(*index, "//a/", "alpha");
    const auto pending = index->add({"http", "//a/"}, "beta", "Beta!");
    EXPECT_EQ(pending->replaced, old);
    ASSERT_TRUE(index->close().isOk());
    index = *open(Access::ReadWrite);
    const auto indexed = index->add({"http", "//a/"}, "gamma", "Gamma?");
    EXPECT_EQ(indexed->replaced, pending->id);
    EXPECT_GT(indexed->id, pending->id);
    EXPECT_EQ(index->documentCount(), 1U);
    EXPECT_THAT(find(*index, "alpha | beta"), IsEmpty());
    EXPECT_EQ(*index->readableTextOf(indexed->id), "Gamma?");
}

TEST_F(IndexTest, SearchKeepsSeeingWhatWasThereWhenItBegan) {
    const auto index = create();
    const DocumentID kept = add(*index, "//a/", "word one");
    const DocumentID gone = add(*index, "//b/", "word two");
    ASSERT_TRUE(index->flush().isOk());
    const auto search = index->search("word");
    add(*index, "//c/", "word three");
    ASSERT_TRUE(index->remove(gone).isOk());
    ASSERT_TRUE(index->flush().isOk());
    ASSERT_TRUE(index->compact().isOk());
    const auto matches = search->findMatches(10, std::chrono::seconds(30));
    ASSERT_TRUE(matches);
    std::vector<DocumentID> found;
    for (const Hit& hit : matches->hits) found.push_back(hit.document);
    EXPECT_THAT(found, UnorderedElementsAre(kept, gone));
    EXPECT_EQ(find(*index, "word").size(), 2U);
}

TEST_F(IndexTest, CancelledSearchHandsOutNothingMore) {
    const auto index = create();
    for (int i = 0; i < 100; ++i) add(*index, "//" + std::to_string(i), "word");
    const auto search = index->search("word");
    EXPECT_EQ(search->findMatches(10, std::chrono::seconds(30))->hits.size(), 10U);
    search->cancel();
    const auto matches = search->findMatches(10, std::chrono::seconds(30));
    EXPECT_THAT(matches->hits, IsEmpty());
    EXPECT_FALSE(matches->isMoreToCome);
}

TEST_F(IndexTest, ClosedIndexLetsTheNextWriterInWhileSearchesStillLookAtIt) {
    auto index = create();
    add(*index, "//a/", "alpha");
    ASSERT_TRUE(index->flush().isOk());
    const auto search = index->search("alpha");
    ASSERT_TRUE(index->close().isOk());
    EXPECT_TRUE(open(Access::ReadWrite));
    EXPECT_FALSE(index->add({"http", "//b/"}, "beta", "beta"));
    EXPECT_FALSE(index->flush().isOk());
    index.reset();
    EXPECT_EQ(search->findMatches(10, std::chrono::seconds(30))->hits.size(), 1U);
}

TEST_F(IndexTest, SecondWriterIsRefusedWhileReadersComeAndGo) {
    auto writer = create();
    const DocumentID document = add(*writer, "//a/", "alpha");
    EXPECT_EQ(open(Access::ReadWrite).status().code(), StatusCode::Busy);
    auto early = open(Access::ReadOnly);
    ASSERT_TRUE(early);
    EXPECT_THAT(find(**early, "alpha"), IsEmpty());
    ASSERT_TRUE(writer->flush().isOk());
    EXPECT_THAT(find(**open(Access::ReadOnly), "alpha"), ElementsAre(document));
    ASSERT_TRUE(writer->compact().isOk());
    EXPECT_EQ(open(Access::ReadWrite).status().code(), StatusCode::Busy);
    EXPECT_EQ((*early)->add({"http", "//b/"}, "b", "b").status().code(),
              StatusCode::ReadOnlyStorage);
    writer.reset();
    EXPECT_TRUE(open(Access::ReadWrite));
}

TEST_F(IndexTest, FilesThatAreNotOursAreToldApartAndLeftAlone) {
    create();
    EXPECT_EQ(open(Access::ReadWrite, "other.http").status().code(), StatusCode::NameMismatch);
    EXPECT_TRUE(open(Access::ReadWrite, "pages.http"));
    EXPECT_EQ(Index::create(path(), {}, {}).status().code(), StatusCode::Exists);

    const std::string text = m_folder.write("notes.txt", "no index at all");
    EXPECT_EQ(Index::open(text, {}, Access::ReadWrite, {}).status().code(), StatusCode::NotFound);
    EXPECT_EQ(m_folder.read("notes.txt"), "no index at all");

    std::string newer = m_folder.read("pages.http");
    newer[8] = 99;  // the version stands behind the magic
    m_folder.write("newer.http", newer);
    const auto refused = Index::open(m_folder.file("newer.http"), {}, Access::ReadWrite, {});
    EXPECT_EQ(refused.status().code(), StatusCode::UnknownVersion);
    EXPECT_THAT(refused.status().message(), testing::HasSubstr("newer.http"));
    EXPECT_EQ(m_folder.read("newer.http"), newer);
}

TEST_F(IndexTest, ReadersChangeNothingEvenAfterAKilledWriter) {
    {
        const auto index = create();
        add(*index, "//a/", "alpha");
        ASSERT_TRUE(index->flush().isOk());
        add(*index, "//b/", "beta");
        m_folder.write("pages.http.compacting", "left over");
    }
    const std::string before = m_folder.read("pages.http");
    auto reader = open(Access::ReadOnly);
    ASSERT_TRUE(reader);
    EXPECT_EQ(find(**reader, "alpha").size(), 1U);
    EXPECT_THAT(find(**reader, "beta"), IsEmpty());
    EXPECT_EQ(m_folder.read("pages.http"), before);
    EXPECT_TRUE(m_folder.has("pages.http.compacting"));
    ASSERT_TRUE(open(Access::ReadWrite));
    EXPECT_FALSE(m_folder.has("pages.http.compacting"));
}

TEST_F(IndexTest, StopWordsAndShortWordsAreKeptOutByTheFileAlone) {
    {
        const auto index = create({.minimumTermLength = 2, .stopWords = {"The"}});
        add(*index, "//a/", "the x Cat sat");
        ASSERT_TRUE(index->close().isOk());
    }
    const auto index = open(Access::ReadWrite);
    ASSERT_TRUE(index);
    const DocumentID document = (*index)->documentsBehind(0, 1).front();
    EXPECT_THAT(*(*index)->termsOf(document), ElementsAre("cat", "sat"));
    EXPECT_THAT(find(**index, "*the*"), IsEmpty());
    EXPECT_THAT(find(**index, "\"the x cat sat\""), ElementsAre(document));
    EXPECT_THAT(find(**index, "\"x sat\""), ElementsAre(document)) << "x has no place in a phrase";
}

TEST_F(IndexTest, AddressesStandInTheFileAsASalvagerLooksForThem) {
    const std::string longName = "///" + std::string(300, 'x');
    {
        const auto index = create();
        add(*index, "//host/page", "text");
        ASSERT_TRUE(index->add({"file", longName}, "text", "text"));
        ASSERT_TRUE(index->flush().isOk());
    }
    const std::string bytes = m_folder.read("pages.http");
    const std::string marker{"\4\0h\0t\0t\0p", 9};
    EXPECT_NE(bytes.find(marker + "\x0b//host/page"), std::string::npos);
    const std::string longMarker{"\4\0f\0i\0l\0e\0\x2f\1\0\0", 14};
    EXPECT_NE(bytes.find(longMarker + longName), std::string::npos);
    EXPECT_TRUE((*open(Access::ReadOnly))->documentWith({"file", longName})->has_value());
}

TEST_F(IndexTest, LittleTextStaysOutsideOfSegmentsOnceNoMoreComes) {
    WriteBudget budget(256 << 10);
    m_surroundings.budget = &budget;
    m_surroundings.maxUnsegmentedText = 4800;
    const auto index = create();
    const auto flush = [&index] { ASSERT_TRUE(index->flush().isOk()); };
    add(*index, "//a/", std::string(1500, 'a'));
    add(*index, "//b/", std::string(1500, 'b'));
    flush();
    EXPECT_EQ(segmentsInFile(), 0U) << "more may come";
    EXPECT_EQ((*open(Access::ReadOnly))->documentCount(), 2U);

    flush();
    EXPECT_EQ(segmentsInFile(), 1U) << "nothing came";
    EXPECT_EQ(find(**open(Access::ReadOnly), "a* | b*").size(), 2U);
    const std::uint64_t generation = index->generation();
    flush();
    EXPECT_EQ(index->generation(), generation) << "nothing is left to do";

    add(*index, "//c/", std::string(150, 'c'));
    flush();
    flush();
    EXPECT_EQ(segmentsInFile(), 1U) << "that little may stay";
    add(*index, "//d/", std::string(5000, 'd'));
    flush();
    EXPECT_EQ(segmentsInFile(), 2U) << "that is too much, whatever may come";

    const auto other = *Index::create(m_folder.file("other.http"), {}, m_surroundings);
    for (int i = 0; i < 200; ++i) add(*other, "//" + std::to_string(i), std::string(2000, 'o'));
    add(*index, "//f/", std::string(450, 'f'));
    flush();
    EXPECT_EQ(segmentsInFile(), 3U) << "all indexes together hold too much";

    ASSERT_TRUE(index->remove(1).isOk());
    add(*index, "//e/", "last");
    ASSERT_TRUE(index->close().isOk());
    EXPECT_EQ(find(**open(Access::ReadOnly), "a* | b* | c* | d* | f* | last").size(), 5U);
    EXPECT_TRUE(index->check().isOk()) << index->check().message();
}

// Their records are so short that none was written out when their segment was.
TEST_F(IndexTest, DocumentsThatJustCameIntoASegmentCanBeReplaced) {
    WriteBudget budget(1);
    m_surroundings.budget = &budget;
    const auto index = create();
    std::string text;
    for (int i = 0; i < 60'000; ++i) text += "word" + std::to_string(i % 50) + " ";
    for (int i = 0; i < 128; ++i) {
        const auto added = index->add({"http", "//" + std::to_string(i % 32) + "/"}, text, text);
        ASSERT_TRUE(added) << i << ": " << added.status().message();
    }
    EXPECT_EQ(index->documentCount(), 32U);
    EXPECT_EQ(find(*index, "word7").size(), 32U);
}

// The more urgent thread, for which compaction gives way, may want to read the very index.
TEST_F(IndexTest, CompactionNeverGivesWayWhereReadersHaveToWaitForIt) {
    WriteBudget budget(1);
    m_surroundings.budget = &budget;
    m_surroundings.maxUnsegmentedText = 0;
    Index* compacted = nullptr;
    std::vector<std::jthread> readers;
    std::atomic<int> answers = 0;
    int pauses = 0;
    m_surroundings.pace = [&] {
        if (compacted == nullptr) return;
        readers.emplace_back([&] { answers += compacted->keyOf(1) ? 1 : 0; });
        const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (answers < std::ssize(readers) && std::chrono::steady_clock::now() < latest) {
            std::this_thread::yield();
        }
        ASSERT_EQ(answers, std::ssize(readers));
        readers.clear();
        answers = 0;
        ++pauses;
    };
    const auto index = create();
    add(*index, "//a/", "committed");
    ASSERT_TRUE(index->flush().isOk());
    std::string text;
    for (int i = 0; i < 20'000; ++i) text += "word" + std::to_string(i) + " ";
    for (int i = 0; i < 5; ++i) add(*index, "//b" + std::to_string(i), text);
    EXPECT_GT(segmentsInFile(), 1U) << "and no commit lists the later ones";
    compacted = index.get();
    ASSERT_TRUE(index->compact().isOk());
    compacted = nullptr;
    EXPECT_GT(pauses, 0);
}

TEST_F(IndexTest, TextThatIsReadBackAtOpeningIsFoundAsBefore) {
    const std::string text =
        "Straße CAFÉ A\u030Angstro\u0308m İstanbul Ｆｕｌｌ 東京TOWER K\u212A ﬁNE I\u0307ron";
    const auto index = create();
    add(*index, "//a/", text);
    const auto termsNow = index->termsOf(1);
    ASSERT_TRUE(index->flush().isOk());
    const auto reader = *open(Access::ReadOnly);
    ASSERT_TRUE(termsNow);
    for (const std::string& term : *termsNow) {
        EXPECT_THAT(find(*index, term), ElementsAre(1U)) << term;
        EXPECT_THAT(find(*reader, term), ElementsAre(1U)) << term;
    }
    EXPECT_THAT(find(*reader, "\"ångström istanbul\""), find(*index, "\"ångström istanbul\""));
}

TEST_F(IndexTest, OddTextsAndKeysAreIndexedOrRefusedWithoutHarm) {
    const auto index = create();
    EXPECT_NE(add(*index, "", ""), 0U);
    EXPECT_NE(add(*index, "//bytes", std::string("caf\xe9 na\0ive", 11)), 0U);
    const std::string longWord(5000, 'w');
    EXPECT_NE(add(*index, "//long", longWord), 0U);
    EXPECT_EQ(find(*index, longWord).size(), 1U);
    EXPECT_EQ(find(*index, longWord.substr(0, 64) + "*").size(), 1U);
    EXPECT_EQ(index->add({std::string(256, 's'), "n"}, "t", "t").status().code(),
              StatusCode::Invalid);
    EXPECT_TRUE(index->close().isOk());
    EXPECT_TRUE(index->check().isOk());
}

TEST_F(IndexTest, ManyThreadsAddSearchFlushAndCompactAtOnce) {
    Maintenance maintenance;
    WriteBudget budget(64 << 10);
    m_surroundings.maintenance = &maintenance;
    m_surroundings.budget = &budget;
    m_surroundings.maxUnsegmentedText = 4 << 10;
    const auto index = create();
    constexpr int kThreads = 3;
    const int documents = shortOrLong(300, 6'000);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&index, thread, documents] {
                for (int i = 0; i < documents; ++i) {
                    // Every third name is shared by all threads.
                    const std::string name =
                        i % 3 == 0 ? "//" : "//" + std::to_string(thread) + "/";
                    add(*index, name + std::to_string(i), "common word" + std::to_string(i % 7));
                    if (i % 25 == 0) {
                        EXPECT_TRUE(index->flush().isOk());
                    }
                }
            });
        }
        threads.emplace_back([&index] {
            for (int i = 0; i < shortOrLong(60, 2000); ++i)
                find(*index, i % 2 == 0 ? "common & word1" : "*ord2*");
        });
        threads.emplace_back([&index] {
            for (int i = 0; i < shortOrLong(4, 100); ++i) EXPECT_TRUE(index->compact().isOk());
        });
    }
    const auto expected =
        static_cast<std::size_t>(documents / 3 + kThreads * (documents - documents / 3));
    EXPECT_EQ(index->documentCount(), expected);
    ASSERT_TRUE(index->close().isOk());
    EXPECT_TRUE(index->check().isOk()) << index->check().message();
    EXPECT_EQ(find(*index, "common").size(), expected);
}

}  // namespace
}  // namespace siftwell::fulltext
