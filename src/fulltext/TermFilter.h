// TermFilter: which words of a text are terms of an index.
//
// Threads: immutable.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "fulltext/Types.h"

namespace siftwell::fulltext {

class TermFilter {
public:
    explicit TermFilter(const IndexSettings& settings);

    bool isTerm(std::string_view foldedWord) const;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };

    std::uint32_t m_minimumLength;
    std::unordered_set<std::string, Hash, std::equal_to<>> m_stopWords;  // folded
};

}  // namespace siftwell::fulltext
