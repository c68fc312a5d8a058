// Contestant: a full-text engine that takes part in the benchmark, driven through its own
// interface.
//
// Threads: one. Errors: a contestant that fails ends the program with a message.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Corpus.h"
#include "Workload.h"

namespace siftwell::bench {

class Contestant {
public:
    virtual ~Contestant() = default;
    virtual std::string name() const = 0;

    // Makes the index in an empty folder and closes it; commits after every `commitInterval`
    // documents. Nothing waits for the disk in any contestant.
    virtual void index(const Corpus& corpus, std::size_t commitInterval) = 0;
    virtual void compact() = 0;

    virtual void open() = 0;

    // The ten best; the number of hits, at most ten.
    virtual std::size_t best(const Words& allOf) = 0;
    virtual std::size_t phrase(const Words& words) = 0;
    // Looks for the terms that contain the fragment, and then for documents with any of them.
    virtual void findTerms(const std::string& fragment) = 0;
    virtual std::size_t bestWithFoundTerms(const std::string& fragment) = 0;
};

[[noreturn]] void fail(const std::string& message);

std::unique_ptr<Contestant> makeSiftwell(const std::string& folder);
// Without the documents' texts, or with them.
std::unique_ptr<Contestant> makeFts5(const std::string& folder, bool isContentless);
std::unique_ptr<Contestant> makeXapian(const std::string& folder);

}  // namespace siftwell::bench
