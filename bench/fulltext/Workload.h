// What is asked of the engines: the same questions each time for the same documents.
#pragma once

#include <string>
#include <vector>

#include "Corpus.h"

namespace siftwell::bench {

using Words = std::vector<std::string>;

struct Workload {
    std::vector<Words> ranked;           // 200: one to three words of one document, rare to common
    std::vector<Words> phrases;          // 50: words that follow one another somewhere
    std::vector<std::string> fragments;  // 50: parts of words; backwards, each is part of none
};

Workload chooseWorkload(const Corpus& corpus);

}  // namespace siftwell::bench
