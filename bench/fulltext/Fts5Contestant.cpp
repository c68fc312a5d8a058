#include "Contestant.h"
#include "sqlite/PLSqliteDatabase.h"

namespace siftwell::bench {

namespace {

class Fts5 : public Contestant {
public:
    Fts5(const std::string& folder, bool isContentless)
        : m_path(folder + "/pages.db"), m_isContentless(isContentless) {}

    std::string name() const override { return m_isContentless ? "FTS5 contentless" : "FTS5"; }

    void index(const Corpus& corpus, std::size_t commitInterval) override {
        openDatabase();
        run(m_isContentless
                ? "CREATE VIRTUAL TABLE pages USING fts5(words, content='', detail=full)"
                : "CREATE VIRTUAL TABLE pages USING fts5(words, detail=full)");
        const auto insert =
            m_database->createStatement("INSERT INTO pages(rowid, words) VALUES (?, ?)");
        std::int64_t added = 0;
        run("BEGIN");
        for (const Document& document : corpus.documents) {
            insert->bindInteger(1, ++added);
            insert->bindString(2, document.words);
            if (!insert->run()) fail(m_database->lastErrorMessage());
            if (added % static_cast<std::int64_t>(commitInterval) == 0) {
                run("COMMIT");
                run("BEGIN");
            }
        }
        run("COMMIT");
        query("PRAGMA wal_checkpoint(TRUNCATE)")->next();
    }

    void compact() override {
        run("INSERT INTO pages(pages) VALUES ('optimize')");
        run("VACUUM");
        query("PRAGMA wal_checkpoint(TRUNCATE)")->next();
        m_database.reset();
    }

    void open() override {
        openDatabase();
        run("CREATE VIRTUAL TABLE temp.terms USING fts5vocab(main, pages, row)");
        rows("SELECT rowid FROM pages LIMIT 1", {});
    }

    std::size_t best(const Words& allOf) override { return ranked(joined(allOf, " AND ")); }
    std::size_t phrase(const Words& words) override {
        return ranked('"' + joined(words, " ") + '"');
    }
    void findTerms(const std::string& fragment) override {
        m_terms.clear();
        const auto result =
            query("SELECT term FROM temp.terms WHERE instr(term, ?) > 0", {fragment});
        while (result->next()) m_terms.push_back(result->stringForColumnIndex(0));
    }
    std::size_t bestWithFoundTerms(const std::string&) override {
        return m_terms.empty() ? 0 : ranked('"' + joined(m_terms, "\" OR \"") + '"');
    }

private:
    static std::string joined(const Words& words, const std::string& separator) {
        std::string text;
        for (const std::string& word : words) {
            if (!text.empty()) text += separator;
            text += word;
        }
        return text;
    }

    void openDatabase() {
        m_database = PLSqliteDatabase::databaseWithPath(m_path);
        if (!m_database->open()) fail(m_database->lastErrorMessage());
        query("PRAGMA journal_mode=WAL")->next();
        run("PRAGMA synchronous=OFF");
    }

    void run(const std::string& statement) {
        if (!m_database->executeUpdate(statement)) fail(m_database->lastErrorMessage());
    }

    std::unique_ptr<PLSqliteResultSet> query(const std::string& statement,
                                             const PropertyList::Array& arguments = {}) {
        auto result = m_database->executeQuery(statement, arguments);
        if (result == nullptr) fail(m_database->lastErrorMessage());
        return result;
    }

    std::size_t rows(const std::string& statement, const PropertyList::Array& arguments) {
        std::size_t count = 0;
        for (const auto result = query(statement, arguments); result->next();) ++count;
        return count;
    }

    std::size_t ranked(const std::string& match) {
        return rows("SELECT rowid FROM pages WHERE pages MATCH ? ORDER BY rank LIMIT 10", {match});
    }

    const std::string m_path;
    const bool m_isContentless;
    std::shared_ptr<PLSqliteDatabase> m_database;
    Words m_terms;
};

}  // namespace

std::unique_ptr<Contestant> makeFts5(const std::string& folder, bool isContentless) {
    return std::make_unique<Fts5>(folder, isContentless);
}

}  // namespace siftwell::bench
