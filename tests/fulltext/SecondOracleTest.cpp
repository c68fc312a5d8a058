// The engine beside another one: SQLite's, where the two query languages mean the same.

#include <gmock/gmock.h>

#include "Oracle.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "sqlite/PLSqliteDatabase.h"
#include "support/LongForm.h"
#include "support/TemporaryFolder.h"

namespace siftwell::fulltext {
namespace {

using testing::ElementsAreArray;

// Words, prefixes, phrases, AND, OR and NOT, in the language of the other engine.
std::string inOtherLanguage(const OracleQuery& query) {
    using Kind = OracleQuery::Kind;
    const auto joined = [&query](const char* between) {
        std::vector<std::string> parts;
        for (const OracleQuery& part : query.parts) {
            if (part.kind != Kind::Not) parts.push_back(inOtherLanguage(part));
        }
        return "(" + OracleQuery::joined(parts, between) + ")";
    };
    switch (query.kind) {
        case Kind::Prefix:
            return '"' + query.words[0] + "\"*";
        case Kind::All:
            break;
        case Kind::Any:
            return joined(" OR ");
        default:
            return '"' + OracleQuery::joined(query.words, " ") + '"';
    }
    const bool isLastRefused = query.parts.back().kind == Kind::Not;
    if (!isLastRefused) return joined(" AND ");
    return "(" + joined(" AND ") + " NOT " + inOtherLanguage(query.parts.back().parts[0]) + ")";
}

bool isCommon(const OracleQuery& query) {
    return query.kind != OracleQuery::Kind::Suffix && query.kind != OracleQuery::Kind::Anywhere &&
           std::all_of(query.parts.begin(), query.parts.end(), isCommon);
}

// As people write: capitals and punctuation are between the words or in them.
std::string written(Random& random, const std::string& words) {
    static constexpr const char* kBetween[] = {" ", ", ", ". ", " - ", "\n", "! ", " (", ") ", "/"};
    std::string text;
    for (std::string word : splitWords(words)) {
        if (pick(random, 4) == 0) word[0] = static_cast<char>(word[0] - 'a' + 'A');
        if (pick(random, 20) == 0) word += std::to_string(pick(random, 30));
        text += word + kBetween[pick(random, static_cast<int>(std::size(kBetween)))];
    }
    return text;
}

class SecondOracleTest : public testing::TestWithParam<unsigned> {
protected:
    SecondOracleTest() : m_random(GetParam()) {
        EXPECT_TRUE(m_other->open());
        run("CREATE VIRTUAL TABLE pages USING fts5(words, tokenize='unicode61', detail=full)");
    }

    void run(const std::string& statement, const PropertyList::Array& arguments = {}) {
        EXPECT_TRUE(m_other->executeUpdate(statement, arguments)) << m_other->lastErrorMessage();
    }

    void add() {
        const std::string name = std::to_string(pick(m_random, 300));
        const std::string text = written(m_random, randomText(m_random, 60));
        const auto added = m_index->add({"http", name}, text, text);
        ASSERT_TRUE(added);
        if (added->replaced) {
            run("DELETE FROM pages WHERE rowid = ?", {std::int64_t{*added->replaced}});
        }
        run("INSERT INTO pages (rowid, words) VALUES (?, ?)", {std::int64_t{added->id}, text});
    }

    void remove() {
        const auto documents = m_index->documentsBehind(0, 1000);
        if (documents.empty()) return;
        const DocumentID victim =
            documents[static_cast<std::size_t>(pick(m_random, static_cast<int>(documents.size())))];
        EXPECT_TRUE(m_index->remove(victim).isOk());
        run("DELETE FROM pages WHERE rowid = ?", {std::int64_t{victim}});
    }

    std::vector<DocumentID> foundByOther(const std::string& query) {
        const auto rows = m_other->executeQuery(
            "SELECT rowid FROM pages WHERE pages MATCH ? ORDER BY rowid", {query});
        std::vector<DocumentID> found;
        while (rows->next())
            found.push_back(static_cast<DocumentID>(rows->bigIntForColumnIndex(0)));
        return found;
    }

    void compare(const OracleQuery& query) {
        const std::string other = inOtherLanguage(query);
        SCOPED_TRACE(query.text() + " as " + other);
        const auto matches =
            m_index->search(query.text())->findMatches(100000, std::chrono::seconds(60));
        ASSERT_TRUE(matches);
        std::vector<DocumentID> found;
        for (const Hit& hit : matches->hits) found.push_back(hit.document);
        std::sort(found.begin(), found.end());
        ASSERT_THAT(found, ElementsAreArray(foundByOther(other)));
    }

    Random m_random;
    TemporaryFolder m_folder;
    std::unique_ptr<Index> m_index =
        *Index::create(m_folder.file("index"), {}, {.maxUnsegmentedText = 4 << 10});
    const std::shared_ptr<PLSqliteDatabase> m_other =
        PLSqliteDatabase::databaseWithPath(":memory:");
};

TEST_P(SecondOracleTest, AnotherEngineFindsTheSameDocuments) {
    int compared = 0;
    for (int round = 0; round < shortOrLong(25, 400); ++round) {
        for (int i = pick(m_random, 40); i > 0; --i) add();
        for (int i = pick(m_random, 8); i > 0; --i) remove();
        if (round % 3 == 0) ASSERT_TRUE(m_index->flush().isOk());
        if (round % 11 == 5) ASSERT_TRUE(m_index->compact().isOk());
        for (int i = 0; i < 30; ++i) {
            const OracleQuery query = randomQuery(m_random, 3);
            if (!isCommon(query)) continue;
            compare(query);
            ++compared;
        }
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(compared, 150);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SecondOracleTest, testing::Range(1U, 4U));

}  // namespace
}  // namespace siftwell::fulltext
