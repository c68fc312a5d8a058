// Indexes with many different words.

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <set>

#include "Oracle.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"
#include "support/TemporaryFolder.h"

namespace siftwell::fulltext {
namespace {

class VocabularyTest : public testing::Test {
protected:
    VocabularyTest() : m_index(*Index::create(m_folder.file("index"), {}, {})) {}

    // Words of 2 to 24 letters, of which many share their beginnings, parts or ends.
    std::string newWord() {
        std::string word;
        do {
            word.clear();
            for (int parts = pick(m_random, 6) + 1; parts > 0; --parts) {
                word += static_cast<char>('a' + pick(m_random, 26));
                word += pick(m_random, 3) == 0 ? "tion" : std::string(1, "aeio"[pick(m_random, 4)]);
            }
            word = word.substr(0, 24);
        } while (m_documents.contains(word));
        return word;
    }

    void addDocumentOf(int words) {
        std::vector<std::string> added;
        std::string text;
        for (; words > 0; --words) {
            added.push_back(newWord());
            m_documents[added.back()] = 0;
            text += added.back() + ' ';
        }
        const std::string name = "//" + std::to_string(m_index->documentCount());
        const auto document = m_index->add({"http", name}, text, text);
        ASSERT_TRUE(document);
        for (const std::string& word : added) m_documents[word] = document->id;
    }

    std::size_t hitsFor(const std::string& query) {
        const auto matches = m_index->search(query)->findMatches(100000, std::chrono::minutes(5));
        EXPECT_TRUE(matches);
        return matches ? matches->hits.size() : 0;
    }

    std::size_t documentsWith(const std::function<bool(const std::string&)>& matches) const {
        std::set<DocumentID> found;
        for (const auto& [word, document] : m_documents) {
            if (matches(word)) found.insert(document);
        }
        return found.size();
    }

    TemporaryFolder m_folder;
    Random m_random{5};
    std::map<std::string, DocumentID> m_documents;  // by word
    std::unique_ptr<Index> m_index;
};

TEST_F(VocabularyTest, PartsOfWordsFindThemHoweverManyThereAre) {
    for (int i = 0; i < 6700; ++i) addDocumentOf(10);
    ASSERT_TRUE(m_index->flush().isOk());
    ASSERT_TRUE(m_index->compact().isOk());
    for (int i = 0; i < 30; ++i) {
        const std::string& word = std::next(m_documents.begin(), pick(m_random, 67000))->first;
        const auto size = static_cast<std::size_t>(pick(m_random, 5) + 1);
        const std::string part = word.substr(word.size() / 3, size);
        SCOPED_TRACE(part);
        const auto holds = [&](const std::string& w) { return w.find(part) != w.npos; };
        ASSERT_EQ(hitsFor("*" + part + "*"), documentsWith(holds));
        const auto begins = [&](const std::string& w) { return w.starts_with(part); };
        ASSERT_EQ(hitsFor(part + "*"), documentsWith(begins));
        const auto ends = [&](const std::string& w) { return w.ends_with(part); };
        ASSERT_EQ(hitsFor("*" + part), documentsWith(ends));
        ASSERT_EQ(hitsFor(word), 1U);
        ASSERT_EQ(hitsFor(part), m_documents.contains(part) ? 1U : 0U);
    }
    EXPECT_TRUE(m_index->check().isOk()) << m_index->check().message();
}

TEST_F(VocabularyTest, ADocumentMayHaveMoreWordsThanMostIndexes) {
    for (const int words : {3000, 10, 150000, 70000, 10}) addDocumentOf(words);
    EXPECT_EQ(hitsFor(m_documents.begin()->first), 1U);
    ASSERT_TRUE(m_index->flush().isOk());
    EXPECT_EQ(hitsFor(m_documents.begin()->first), 1U);
    std::size_t terms = 0;
    for (const DocumentID document : m_index->documentsBehind(0, 10)) {
        terms += m_index->termsOf(document)->size();
    }
    EXPECT_EQ(terms, m_documents.size());
    EXPECT_TRUE(m_index->check().isOk()) << m_index->check().message();
}

}  // namespace
}  // namespace siftwell::fulltext
