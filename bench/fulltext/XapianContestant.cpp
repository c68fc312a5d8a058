#include <xapian.h>

#include <filesystem>

#include "Contestant.h"

namespace siftwell::bench {

namespace {

class XapianContestant : public Contestant {
public:
    explicit XapianContestant(const std::string& folder) : m_path(folder + "/pages") {}

    std::string name() const override { return "Xapian"; }

    void index(const Corpus& corpus, std::size_t commitInterval) override {
        Xapian::WritableDatabase database(
            m_path, Xapian::DB_CREATE | Xapian::DB_NO_SYNC | Xapian::DB_BACKEND_GLASS);
        Xapian::TermGenerator generator;
        std::size_t added = 0;
        for (const Document& document : corpus.documents) {
            Xapian::Document entry;
            generator.set_document(entry);
            generator.set_termpos(0);
            generator.index_text(document.words);
            database.add_document(entry);
            if (++added % commitInterval == 0) database.commit();
        }
        database.commit();
    }

    void compact() override {
        Xapian::Database(m_path).compact(m_path + ".compact", Xapian::DBCOMPACT_NO_RENUMBER);
        std::filesystem::remove_all(m_path);
        std::filesystem::rename(m_path + ".compact", m_path);
    }

    void open() override { m_database = Xapian::Database(m_path); }

    std::size_t best(const Words& allOf) override {
        return hits(Xapian::Query(Xapian::Query::OP_AND, allOf.begin(), allOf.end()));
    }
    std::size_t phrase(const Words& words) override {
        return hits(Xapian::Query(Xapian::Query::OP_PHRASE, words.begin(), words.end(),
                                  static_cast<Xapian::termcount>(words.size())));
    }
    void findTerms(const std::string& fragment) override {
        m_terms.clear();
        for (auto term = m_database.allterms_begin(); term != m_database.allterms_end(); ++term) {
            std::string text = *term;
            if (text.find(fragment) != std::string::npos) m_terms.push_back(std::move(text));
        }
    }
    std::size_t bestWithFoundTerms(const std::string&) override {
        return hits(Xapian::Query(Xapian::Query::OP_OR, m_terms.begin(), m_terms.end()));
    }

private:
    std::size_t hits(const Xapian::Query& query) {
        Xapian::Enquire enquire(m_database);
        enquire.set_query(query);
        return enquire.get_mset(0, 10).size();
    }

    const std::string m_path;
    Xapian::Database m_database;
    Words m_terms;
};

}  // namespace

std::unique_ptr<Contestant> makeXapian(const std::string& folder) {
    return std::make_unique<XapianContestant>(folder);
}

}  // namespace siftwell::bench
