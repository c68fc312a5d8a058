#include "text/Needle.h"

#include "text/Ascii.h"

namespace siftwell {

namespace {

// How often a byte stands close behind a "<" in pages, where most needles begin; counted on 651
// pages of documentation. 0 for those that are not among the commonest.
std::size_t commonness(char byte) {
    constexpr std::string_view kRareFirst = "jyzqxkvwbg!fmut-rionpchlds/\"=ae ><";
    return kRareFirst.find(asciiLower(byte)) + 1;
}

// The first byte is looked for anyway, so another one is taken where there is one.
std::size_t placeOfRarest(std::string_view needle) {
    std::size_t rarest = std::min<std::size_t>(1, needle.size() - 1);
    for (std::size_t i = 1; i < needle.size(); ++i) {
        if (commonness(needle[i]) <= commonness(needle[rarest])) rarest = i;
    }
    return needle.empty() ? 0 : rarest;
}

}  // namespace

bool containsIgnoringCase(std::string_view text, std::string_view part) {
    return Needle(part, Needle::Letters::AnyCase).find(text) != std::string_view::npos;
}

Needle::Probe::Probe(std::string_view needle, std::size_t at, bool anyCase)
    : wanted(ByteBlock::filledWith('\0')), fold(wanted) {
    if (needle.empty()) return;
    const char small = asciiLower(needle[at]);
    const bool folds = anyCase && small >= 'a' && small <= 'z';
    wanted = ByteBlock::filledWith(folds ? small : needle[at]);
    fold = ByteBlock::filledWith(folds ? 0x20 : 0);
}

Needle::Needle(std::string_view needle, Letters letters)
    : m_needle(needle),
      m_toRarest(placeOfRarest(needle)),
      m_isFirstAnyCase(letters == Letters::AnyCase),
      m_isRestAnyCase(letters != Letters::Exact),
      m_first(needle, 0, m_isFirstAnyCase),
      m_rarest(needle, m_toRarest, m_toRarest == 0 ? m_isFirstAnyCase : m_isRestAnyCase) {}

bool Needle::isAt(const char* at) const {
    const std::string_view found(at, m_needle.size());
    if (!m_isRestAnyCase) return found == m_needle;
    return (m_isFirstAnyCase || found.front() == m_needle.front()) &&
           equalsIgnoringCase(found, m_needle);
}

std::size_t Needle::findOneByOne(std::string_view text, std::size_t from, std::size_t end) const {
    for (std::size_t at = from; at < end; ++at) {
        if (isAt(text.data() + at)) return at;
    }
    return end;
}

std::size_t Needle::find(std::string_view text, std::size_t from) const {
    const std::size_t found = find(text, from, text.size());
    return found >= text.size() ? std::string_view::npos : found;
}

}  // namespace siftwell
