#include "sources/UrlExtraction.h"

#include <array>
#include <optional>
#include <string>

#include "text/TextScanner.h"
#include "text/Utf8.h"

namespace siftwell {

namespace {

std::string withoutLineContinuations(std::string_view run) {
    std::string joined;
    joined.reserve(run.size());
    for (std::size_t i = 0; i < run.size(); ++i) {
        if (run.substr(i).starts_with("\\\n")) {
            ++i;
        } else {
            joined += run[i];
        }
    }
    return joined;
}

bool beginsWithWhiteSpace(std::string_view text) {
    return trimmingLeadingWhiteSpace(text).size() != text.size();
}

std::string_view upToWhiteSpace(std::string_view run) {
    for (std::size_t i = 0; i < run.size(); ++i) {
        const bool mayBeBlank = run[i] <= ' ' || !isAsciiByte(run[i]);
        if (mayBeBlank && beginsWithWhiteSpace(run.substr(i))) return run.substr(0, i);
    }
    return run;
}

std::optional<Url> addressIn(std::string_view run) {
    if (run.find('\\') == std::string_view::npos) return Url::parse(upToWhiteSpace(run));
    return Url::parse(upToWhiteSpace(withoutLineContinuations(run)));
}

}  // namespace

std::vector<Url> extractURLsInString(std::string_view text, std::string_view endTokens,
                                     const GoOn& goOn) {
    constexpr std::array<std::string_view, 4> kPrefixes = {"http://", "https://", "file://",
                                                           "feed://"};
    std::vector<Url> found;
    for (const std::string_view prefix : kPrefixes) {
        TextScanner scanner(text);
        scanner.scanUpTo(prefix);
        while (!scanner.isAtEnd() && found.size() < kMaxAddresses && goOn()) {
            if (auto url = addressIn(scanner.scanUpToAnyOf(endTokens))) {
                found.push_back(*std::move(url));
            }
            scanner.scanUpTo(prefix);
        }
    }
    return found;
}

}  // namespace siftwell
