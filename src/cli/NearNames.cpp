#include "cli/NearNames.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "base/Translate.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxNames = 3;
constexpr std::size_t kMaxLength = 200;  // what is longer was not typed

// How many letters have to be put in, left out or exchanged.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t exchanged = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, exchanged});
        }
    }
    return row.back();
}

}  // namespace

std::vector<std::string> nearNames(std::string_view name, const std::vector<std::string>& names) {
    if (name.empty() || name.size() > kMaxLength) return {};
    const std::string typed = lowerCasedAscii(name);
    const std::size_t farthest = std::max<std::size_t>(1, typed.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& each : names) {
        if (each.size() > kMaxLength) continue;
        const std::string candidate = lowerCasedAscii(each);
        const bool isBeginning = candidate.starts_with(typed);
        const std::size_t distance = isBeginning ? 1 : editDistance(typed, candidate);
        if (distance <= farthest) near.emplace_back(distance, each);
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::vector<std::string> result;
    for (std::size_t i = 0; i < std::min(near.size(), kMaxNames); ++i) {
        result.push_back(near[i].second);
    }
    return result;
}

std::string meantPerhaps(std::string_view name, const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& each : nearNames(name, names)) {
        list += (list.empty() ? "\"" : ", \"") + each + "\"";
    }
    return list.empty() ? "" : " " + filledIn(_("Did you mean %@?"), list);
}

}  // namespace siftwell
