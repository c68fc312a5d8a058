#include "fulltext/TermGrams.h"

#include <array>
#include <bit>
#include <numeric>

#include "fulltext/Bytes.h"

namespace siftwell::fulltext {

namespace {

constexpr std::size_t kGramBytes = 3;

// The row of the three bytes; part of the file format.
std::size_t rowOf(unsigned char first, unsigned char second, unsigned char third) {
    const std::uint32_t gram = first | std::uint32_t{second} << 8 | std::uint32_t{third} << 16;
    constexpr std::uint32_t kFactor = 2654435761;  // spreads them: 2^32 over the golden ratio
    return (gram * kFactor) >> (32 - std::bit_width(kGramRows - 1));
}

template <typename Visit>
void forEachRow(std::string_view text, Visit visit) {
    for (std::size_t at = 0; at + kGramBytes <= text.size(); ++at) {
        visit(rowOf(static_cast<unsigned char>(text[at]), static_cast<unsigned char>(text[at + 1]),
                    static_cast<unsigned char>(text[at + 2])));
    }
}

}  // namespace

std::string termGrams(std::string_view termBytes, std::uint32_t terms) {
    if (terms < kFewestGramTerms) return {};
    std::string pages;
    std::array<std::uint64_t, kGramRows> page{};
    const auto finishPage = [&] {
        for (const std::uint64_t row : page) appendNumber(pages, row);
        page.fill(0);
    };
    std::size_t begin = 0;
    for (std::uint32_t term = 0; term < terms; ++term) {
        if (term > 0 && term % kTermsPerGramPage == 0) finishPage();
        const std::size_t behind = termBytes.find('\0', begin) + 1;
        const std::uint64_t chunk = std::uint64_t{1} << (term / kTermsPerSample % 64);
        forEachRow(termBytes.substr(begin, behind - begin),
                   [&](std::size_t row) { page[row] |= chunk; });
        begin = behind;
    }
    finishPage();
    return pages;
}

std::vector<std::uint32_t> chunksWith(std::string_view grams, std::uint32_t terms,
                                      std::string_view pattern) {
    const auto chunks = static_cast<std::uint32_t>((terms + kTermsPerSample - 1) / kTermsPerSample);
    std::vector<std::uint32_t> found;
    if (grams.empty() || pattern.size() < kGramBytes) {
        found.resize(chunks);
        std::iota(found.begin(), found.end(), 0U);
        return found;
    }
    for (std::uint32_t page = 0; page * 64 < chunks; ++page) {
        const char* const rows = grams.data() + page * kGramPageSize;
        std::uint64_t bits = ~std::uint64_t{0};
        forEachRow(pattern, [&](std::size_t row) {
            bits &= loadNumber<std::uint64_t>(rows + row * sizeof bits);
        });
        for (; bits != 0; bits &= bits - 1) {
            const std::uint32_t chunk =
                page * 64 + static_cast<std::uint32_t>(std::countr_zero(bits));
            if (chunk < chunks) found.push_back(chunk);
        }
    }
    return found;
}

}  // namespace siftwell::fulltext
