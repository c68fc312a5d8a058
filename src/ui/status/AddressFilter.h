// AddressFilter: whether all words that were typed are in an address.
//
// Letters from A to Z match in either case; other characters as they are written, or escaped as
// addresses do ("é" finds "%C3%A9").
//
// Threads: a value.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace siftwell {

class AddressFilter {
public:
    explicit AddressFilter(std::string_view words);

    bool matches(std::string_view address) const;

private:
    struct Word {
        std::string plain;    // in small letters, like the other one
        std::string escaped;  // "" when it is the same
    };

    std::vector<Word> m_words;
};

}  // namespace siftwell
