#include "index/StopWords.h"

#include <sstream>

#include "base/Files.h"

namespace siftwell {

std::set<std::string> readStopWords(const Paths& paths) {
    constexpr std::size_t kMaxBytes = 1 << 20;
    std::set<std::string> stopWords;
    const auto path = paths.resource("StopWords", "txt");
    const auto words = path ? readFile(*path, kMaxBytes) : Result<std::string>(Status());
    if (!words) return stopWords;
    std::istringstream lines(*words);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) stopWords.insert(line);
    }
    return stopWords;
}

}  // namespace siftwell
