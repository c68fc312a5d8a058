#include "Corpus.h"

#include <algorithm>

#include "support/Pages.h"
#include "text/Alphanumeric.h"
#include "text/PageText.h"

namespace siftwell::bench {

namespace {

constexpr std::size_t kMaxMadePages = 1000;

void addPage(Corpus& corpus, Page page) {
    PageText text = extractPageText(std::move(page.html), {});
    reduceToAlphanumeric(text.indexText, {});
    if (text.readable.empty()) return;
    corpus.readableBytes += text.readable.size();
    corpus.wordBytes += text.indexText.size();
    corpus.documents.push_back(
        {std::move(page.name), std::move(text.readable), std::move(text.indexText)});
}

}  // namespace

Corpus readCorpus(std::size_t maxDocuments) {
    Corpus corpus;
    const auto files = pageFiles();
    if (files.empty()) {
        for (Page& page : makePages(std::min(maxDocuments, kMaxMadePages)))
            addPage(corpus, std::move(page));
        return corpus;
    }
    const std::size_t count = std::min(maxDocuments, files.size());
    for (std::size_t i = 0; i < count; ++i) {
        addPage(corpus, readPage(files[i * files.size() / count]));
    }
    return corpus;
}

}  // namespace siftwell::bench
