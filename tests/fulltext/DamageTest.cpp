// Bytes of an index file are changed or cut at random: what is answered is right, or an error.

#include <gmock/gmock.h>

#include "Oracle.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "support/LoggedLines.h"
#include "support/LongForm.h"
#include "support/TemporaryFolder.h"

namespace siftwell::fulltext {
namespace {

class DamageTest : public testing::Test {
protected:
    static constexpr const char* kQueries[] = {"kaka", "lo* | *ter", "mika & !anka",
                                               "\"kaka kalo\"", "*a*"};

    DamageTest() {
        m_folder.write("whole", makeIndex());
        const auto index = open("whole");
        for (const char* query : kQueries) m_answers.push_back(*answer(**index, query));
        for (const DocumentID document : (*index)->documentsBehind(0, 10000)) {
            m_texts[document] = *(*index)->readableTextOf(document);
        }
    }

    // Segments of two sizes, removed documents, and some that stand in no segment.
    std::string makeIndex() {
        const Index::Surroundings surroundings{.maxUnsegmentedText = 20 << 10};
        auto index = *Index::create(m_folder.file("made"), {}, surroundings);
        for (int i = 0; i < 260; ++i) {
            const std::string text = randomText(m_random, 60) + "kaka kalo mika";
            EXPECT_TRUE(index->add({"http", "//" + std::to_string(i)}, text, text));
            if (i == 180) {
                EXPECT_TRUE(index->close().isOk());
                index = *Index::open(m_folder.file("made"), std::nullopt, Index::Access::ReadWrite,
                                     surroundings);
            }
            if (i % 40 == 3) EXPECT_TRUE(index->remove(static_cast<DocumentID>(i)).isOk());
        }
        EXPECT_TRUE(index->flush().isOk());
        EXPECT_TRUE(index->sync().isOk());
        return m_folder.read("made");
    }

    Result<std::unique_ptr<Index>> open(const std::string& name) {
        return Index::open(m_folder.file(name), std::nullopt, Index::Access::ReadOnly, {});
    }

    static std::optional<std::vector<Hit>> answer(const Index& index, const char* query) {
        const auto search = index.search(query);
        auto matches = search->findMatches(5, std::chrono::seconds(5));
        if (!matches) return std::nullopt;
        auto rest = search->findMatches(100000, std::chrono::seconds(5));
        if (!rest) return std::nullopt;
        matches->hits.insert(matches->hits.end(), rest->hits.begin(), rest->hits.end());
        return matches->hits;
    }

    // Whether everything was answered without an error.
    bool expectRightOrRefused(const std::string& bytes) {
        m_folder.write("changed", bytes);
        const auto index = open("changed");
        if (!index) return false;
        bool isAllRight = true;
        for (std::size_t i = 0; i < std::size(kQueries); ++i) {
            const auto hits = answer(**index, kQueries[i]);
            isAllRight = isAllRight && hits;
            if (hits) EXPECT_EQ(*hits, m_answers[i]) << kQueries[i];
        }
        for (const auto& [document, text] : m_texts) {
            const auto read = (*index)->readableTextOf(document);
            isAllRight = isAllRight && read;
            if (read) EXPECT_EQ(*read, text);
        }
        if (isAllRight) return true;
        EXPECT_FALSE((*index)->check().isOk());
        return false;
    }

    LoggedLines m_log;
    TemporaryFolder m_folder;
    Random m_random{5};
    std::vector<std::vector<Hit>> m_answers;
    std::map<DocumentID, std::string> m_texts;
};

TEST_F(DamageTest, ChangedBytesNeverGiveAWrongAnswer) {
    const std::string whole = m_folder.read("whole");
    ASSERT_TRUE(expectRightOrRefused(whole));
    int refused = 0;
    for (int round = 0; round < shortOrLong(600, 20'000) && !HasFailure(); ++round) {
        std::string bytes = whole;
        const auto at = static_cast<std::size_t>(pick(m_random, static_cast<int>(bytes.size())));
        SCOPED_TRACE("changed at " + std::to_string(at));
        const int length = round % 3 == 0 ? pick(m_random, 200) + 1 : 1;
        for (std::size_t i = at; i < std::min(at + static_cast<std::size_t>(length), bytes.size());
             ++i) {
            bytes[i] = static_cast<char>(bytes[i] ^ (1 << pick(m_random, 8)));
        }
        if (!expectRightOrRefused(bytes)) ++refused;
    }
    EXPECT_GT(refused, shortOrLong(120, 4'000)) << "most of the file matters";
}

TEST_F(DamageTest, CutFilesNeverGiveAWrongAnswer) {
    const std::string whole = m_folder.read("whole");
    for (int round = 0; round < shortOrLong(200, 5'000) && !HasFailure(); ++round) {
        const auto size = static_cast<std::size_t>(pick(m_random, static_cast<int>(whole.size())));
        SCOPED_TRACE("cut to " + std::to_string(size));
        expectRightOrRefused(whole.substr(0, size));
    }
}

}  // namespace
}  // namespace siftwell::fulltext
