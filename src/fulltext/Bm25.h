// BM25, in single precision, with the usual k1 = 1.2 and b = 0.75.
//
// A document's score is the sum over the terms asked for of weight × frequency part. The frequency
// part grows with the term's frequency and falls with the document's length, so that a block of
// postings is bounded by those of its (frequency, length) pairs that no other pair beats in both.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace siftwell::fulltext {

class Bm25 {
public:
    Bm25() = default;
    Bm25(std::uint64_t documents, std::uint64_t words)
        : m_documents(static_cast<double>(documents)),
          m_lengthFactor(words == 0 ? 0.0F
                                    : static_cast<float>(kB * static_cast<double>(documents) /
                                                         static_cast<double>(words))) {}

    // The weight of a term that stands in so many documents. Removed documents may still be counted
    // there, so it may exceed the number of documents.
    float weight(std::uint64_t documentFrequency) const {
        const double found = static_cast<double>(documentFrequency);
        const double all = std::max(m_documents, found);
        return static_cast<float>(std::log(1.0 + (all - found + 0.5) / (found + 0.5)));
    }

    // Below k1 + 1. Frequency and length count words.
    float frequencyPart(std::uint32_t frequency, std::uint32_t length) const {
        const auto f = static_cast<float>(frequency);
        const float norm = kK1 * (1.0F - kB + m_lengthFactor * static_cast<float>(length));
        return f * (kK1 + 1.0F) / (f + norm);
    }

    // Whether the frequency part may be as high as `least`: never no when it is, and without a
    // division.
    bool mayReach(float least, std::uint32_t frequency, std::uint32_t length) const {
        constexpr float kSlack = 1.0001F;  // for what single precision leaves out
        const auto f = static_cast<float>(frequency);
        const float norm = kK1 * (1.0F - kB + m_lengthFactor * static_cast<float>(length));
        return f * (kK1 + 1.0F) * kSlack >= least * (f + norm);
    }

    // No frequency part is above this.
    static constexpr float maxFrequencyPart() { return kK1 + 1.0F; }

private:
    static constexpr float kK1 = 1.2F;
    static constexpr float kB = 0.75F;

    double m_documents = 0;
    float m_lengthFactor = 0;  // b / average length
};

}  // namespace siftwell::fulltext
