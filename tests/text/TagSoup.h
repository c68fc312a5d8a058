// Texts put together at random from what a test is interested in.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace siftwell {

class TagSoup {
public:
    TagSoup(unsigned seed, std::vector<std::string> pieces)
        : m_random(seed), m_pieces(std::move(pieces)) {}

    // Now and then a run of plain letters shifts what follows against blocks and intervals.
    std::string text(std::size_t maxPieces) {
        std::string result;
        for (std::size_t left = below(maxPieces + 1); left > 0; --left) {
            result += m_pieces[below(m_pieces.size())];
            if (below(40) == 0) result += std::string(below(300), 'p');
        }
        return result;
    }

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
    }

private:
    std::mt19937 m_random;
    std::vector<std::string> m_pieces;
};

}  // namespace siftwell
