#include "Contestant.h"
#include "fulltext/Index.h"
#include "fulltext/Search.h"

namespace siftwell::bench {

namespace {

using fulltext::Index;

constexpr std::chrono::minutes kLong(5);

std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

void require(const Status& status) {
    if (!status.isOk()) fail(status.message());
}

class Siftwell : public Contestant {
public:
    explicit Siftwell(const std::string& folder) : m_path(folder + "/pages") {}

    std::string name() const override { return "Siftwell"; }

    void index(const Corpus& corpus, std::size_t commitInterval) override {
        auto index = Index::create(m_path, {}, {});
        require(index.status());
        std::size_t added = 0;
        for (const Document& document : corpus.documents) {
            require(
                (*index)->add({"file", document.name}, document.words, document.readable).status());
            if (++added % commitInterval == 0) require((*index)->flush());
        }
        require((*index)->close());
    }

    void compact() override {
        auto index = Index::open(m_path, std::nullopt, Index::Access::ReadWrite, {});
        require(index.status());
        require((*index)->compact());
        require((*index)->close());
    }

    void open() override {
        auto index = Index::open(m_path, std::nullopt, Index::Access::ReadOnly, {});
        require(index.status());
        m_index = *std::move(index);
    }

    std::size_t best(const Words& allOf) override { return hits(joined(allOf)); }
    std::size_t phrase(const Words& words) override { return hits('"' + joined(words) + '"'); }
    // A search for a part of no word looks for terms and does nothing else.
    void findTerms(const std::string& fragment) override {
        hits('*' + std::string(fragment.rbegin(), fragment.rend()) + '*');
    }
    // Looks for the terms once more.
    std::size_t bestWithFoundTerms(const std::string& fragment) override {
        return hits('*' + fragment + '*');
    }

private:
    std::size_t hits(const std::string& query) {
        const auto matches = m_index->search(query)->findMatches(10, kLong);
        require(matches.status());
        return matches->hits.size();
    }

    const std::string m_path;
    std::unique_ptr<Index> m_index;
};

}  // namespace

std::unique_ptr<Contestant> makeSiftwell(const std::string& folder) {
    return std::make_unique<Siftwell>(folder);
}

}  // namespace siftwell::bench
