#include "cli/Refusal.h"

#include "base/Translate.h"
#include "records/URLFilter.h"
#include "text/Ascii.h"

namespace siftwell {

namespace {

std::string patternFor(Verdict verdict) {
    switch (verdict) {
        case Verdict::ExtensionFiltered:
            return _("%@ was left out: files with its extension hold no text.");
        case Verdict::ExtractorsOff:
            return _(
                "%@ was left out: such documents are read only while \"UseContentExtractors\" "
                "is on.");
        case Verdict::Filtered:
            return _("%@ was left out by your address filters.");
        case Verdict::SchemeRefused:
            return _("%@ was left out: pages of this kind of address are not read.");
        case Verdict::Accepted:
        case Verdict::NotAnAddress:
        case Verdict::FailedBefore:
            break;
    }
    return _("%@ cannot be indexed.");
}

}  // namespace

std::optional<std::string> refusalOf(const Url& url, Verdict verdict) {
    if (verdict == Verdict::Accepted) return std::nullopt;
    return filledIn(patternFor(verdict), url.absoluteString());
}

std::string filterAgainst(const Url& url, const Settings& settings) {
    const std::string address = lowerCasedAscii(url.absoluteString());
    for (const URLFilter& filter : urlFiltersIn(settings.array("URLFilters"))) {
        const bool isUsed = filter.Enabled && !filter.String.empty();
        if (isUsed && address.find(lowerCasedAscii(filter.String)) != std::string::npos) {
            return filter.String;
        }
    }
    return "";
}

}  // namespace siftwell
