// WordKey: a word in the form in which it is looked up: its first bytes as two numbers, and a hash.
//
// Most words have at most sixteen bytes, so that two numbers are all there is to compare.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "fulltext/Hash.h"

namespace siftwell::fulltext {

struct WordKey {
    static constexpr std::size_t kHeadBytes = 16;
    using Head = std::array<std::uint64_t, 2>;

    WordKey() = default;
    explicit WordKey(std::string_view ofWord) : word(ofWord) {
        std::memcpy(head.data(), word.data(), std::min(word.size(), kHeadBytes));
        setHash();
    }

    // The same, faster: kHeadBytes bytes from the word's first on can be read.
    void setFollowed(std::string_view ofWord) {
        word = ofWord;
        std::memcpy(head.data(), word.data(), kHeadBytes);
        const Head& mask = kMasks[std::min(word.size(), kHeadBytes)];
        head[0] &= mask[0];
        head[1] &= mask[1];
        setHash();
    }

    // Whether the head tells all: no word has a zero byte.
    bool isWhole() const { return word.size() <= kHeadBytes; }

    std::string_view word;  // borrowed
    Head head{};            // in the order of memory, filled up with zero bytes
    std::uint64_t hash = 0;

private:
    void setHash() { hash = isWhole() ? seededHash(head[0], head[1]) : seededHash(word); }

    static constexpr std::array<Head, kHeadBytes + 1> kMasks = [] {
        std::array<Head, kHeadBytes + 1> masks{};
        for (std::size_t bytes = 0; bytes <= kHeadBytes; ++bytes) {
            for (std::size_t i = 0; i < bytes; ++i) {
                masks[bytes][i / 8] |= std::uint64_t{0xFF} << (i % 8 * 8);
            }
        }
        return masks;
    }();
};

}  // namespace siftwell::fulltext
