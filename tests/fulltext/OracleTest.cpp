#include <gmock/gmock.h>

#include "Oracle.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "support/LongForm.h"
#include "support/TemporaryFolder.h"

namespace siftwell::fulltext {
namespace {

using testing::ElementsAreArray;
using testing::FloatNear;

class OracleTest : public testing::TestWithParam<int> {
protected:
    OracleTest() : m_random(static_cast<unsigned>(GetParam())) {
        auto index = Index::create(m_folder.file("index"), {}, m_surroundings);
        EXPECT_TRUE(index) << index.status().message();
        m_index = *std::move(index);
    }

    void addSome(int count, int maxWords) {
        for (; count > 0; --count) {
            const std::string name = std::to_string(pick(m_random, 4000));
            const std::string words = randomText(m_random, maxWords);
            const std::string text = written(m_random, words);
            const auto added = m_index->add({"http", "//" + name}, text, text);
            ASSERT_TRUE(added) << added.status().message();
            const auto old = m_ids.find(name);
            ASSERT_EQ(added->replaced.has_value(), old != m_ids.end());
            if (added->replaced) {
                ASSERT_EQ(*added->replaced, old->second);
                m_oracle.remove(old->second);
            }
            m_ids[name] = added->id;
            m_oracle.add(added->id, words);
        }
    }

    void removeSome(int count) {
        for (; count > 0 && !m_ids.empty(); --count) {
            const auto victim =
                std::next(m_ids.begin(), pick(m_random, static_cast<int>(m_ids.size())));
            ASSERT_TRUE(m_index->remove(victim->second).isOk());
            m_oracle.remove(victim->second);
            m_ids.erase(victim);
        }
    }

    void reopen() {
        ASSERT_TRUE(m_index->close().isOk());
        m_index.reset();
        auto index = Index::open(m_folder.file("index"), std::nullopt, Index::Access::ReadWrite,
                                 m_surroundings);
        ASSERT_TRUE(index) << index.status().message();
        m_index = *std::move(index);
    }

    std::vector<Hit> all(Search& search, std::size_t batch) {
        std::vector<Hit> hits;
        for (bool isMoreToCome = true; isMoreToCome;) {
            const auto matches = search.findMatches(batch, std::chrono::seconds(1));
            EXPECT_TRUE(matches) << matches.status().message();
            if (!matches) break;
            hits.insert(hits.end(), matches->hits.begin(), matches->hits.end());
            isMoreToCome = matches->isMoreToCome;
        }
        return hits;
    }

    // The same documents, each batch the best that are left, whatever the size of the batches.
    void compare(const OracleQuery& query) {
        SCOPED_TRACE(query.text());
        const std::vector<Hit> hits = all(*m_index->search(query.text()), 1000000);
        std::vector<DocumentID> documents;
        for (const Hit& hit : hits) documents.push_back(hit.document);
        std::sort(documents.begin(), documents.end());
        ASSERT_THAT(documents, ElementsAreArray(m_oracle.matches(query)));
        ASSERT_TRUE(std::is_sorted(hits.begin(), hits.end(), ranksBefore));
        ASSERT_EQ(
            all(*m_index->search(query.text()), 1 + static_cast<std::size_t>(pick(m_random, 20))),
            hits);
    }

    // Once no removed document is counted any more, the scores are those of the formula.
    void compareScores(const OracleQuery& query) {
        SCOPED_TRACE(query.text());
        const std::map<DocumentID, double> scores = m_oracle.scores(query);
        for (const Hit& hit : all(*m_index->search(query.text()), 50)) {
            const double expected = scores.at(hit.document);
            ASSERT_THAT(hit.score, FloatNear(static_cast<float>(expected),
                                             static_cast<float>(expected * 1e-4 + 1e-5)));
        }
    }

    // Small, so that there are many segments and merges.
    Index::Surroundings m_surroundings{.maxUnsegmentedText = 8 << 10};
    TemporaryFolder m_folder;
    Random m_random;
    std::unique_ptr<Index> m_index;
    Oracle m_oracle;
    std::map<std::string, DocumentID> m_ids;
};

TEST_P(OracleTest, SearchesAgreeWithASlowAndObviousOneAfterEveryOperation) {
    for (int round = 0; round < shortOrLong(40, 100); ++round) {
        switch (pick(m_random, 8)) {
            case 0:
                removeSome(pick(m_random, 60));
                break;
            case 1:
                ASSERT_TRUE(m_index->flush().isOk());
                break;
            case 2:
                ASSERT_TRUE(m_index->flush().isOk());
                ASSERT_TRUE(m_index->compact().isOk());
                break;
            case 3:
                reopen();
                break;
            default:
                addSome(pick(m_random, 150), pick(m_random, 120) + 1);
                break;
        }
        ASSERT_EQ(m_index->documentCount(), m_oracle.documents().size());
        for (int i = 0; i < 6; ++i) compare(randomQuery(m_random, 2 + i % 2));
        if (HasFatalFailure()) return;
    }
    ASSERT_TRUE(m_index->flush().isOk());
    ASSERT_TRUE(m_index->compact().isOk());
    for (int i = 0; i < 20; ++i) compareScores(randomQuery(m_random, 2));
    EXPECT_TRUE(m_index->check().isOk()) << m_index->check().message();
    for (const auto& [id, words] : m_oracle.documents()) {
        std::vector<std::string> terms = words;
        std::sort(terms.begin(), terms.end());
        terms.erase(std::unique(terms.begin(), terms.end()), terms.end());
        ASSERT_EQ(*m_index->termsOf(id), terms);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OracleTest, testing::Range(1, shortOrLong(9, 65)));

}  // namespace
}  // namespace siftwell::fulltext
