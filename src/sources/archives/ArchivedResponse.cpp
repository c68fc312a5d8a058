#include "sources/archives/ArchivedResponse.h"

#include <algorithm>

#include "sources/archives/ArchivedURLResponse.h"
#include "sources/archives/ArchivedValues.h"
#include "sources/archives/BrindleArchive.h"
#include "sources/archives/KeyedArchive.h"
#include "sources/archives/TypedArchive.h"
#include "text/Ascii.h"
#include "text/Encodings.h"

namespace siftwell {

namespace {

// The platform's own archive of a response with its page, by the kinds of its values.
std::optional<CachedURLResponse> platformResponseIn(const ObjectArchive& archive,
                                                    const ArchivedValue& value) {
    if (!isKindOf(archive, value, "NSCachedURLResponse")) return std::nullopt;
    const ArchivedObject& object = *objectIn(archive, value);
    const auto firstOf = [&](auto isWanted) {
        const auto parts = static_cast<std::ptrdiff_t>(std::min(object.values.size(), kMaxParts));
        const auto end = object.values.begin() + parts;
        const auto found = std::find_if(object.values.begin(), end, isWanted);
        return found == end ? ArchivedValue() : *found;
    };
    const auto firstOfKind = [&](std::string_view className) {
        return firstOf([&](const auto& part) { return isKindOf(archive, part, className); });
    };
    auto response = responseIn(archive, firstOfKind("NSURLResponse"));
    const auto data = dataIn(
        archive, firstOf([&](const auto& part) { return dataIn(archive, part).has_value(); }));
    if (!response || !data) return std::nullopt;
    const auto policy = integerIn(archive, valueForKey(object, "storagePolicy"));
    return CachedURLResponse{.data = std::string(*data),
                             .response = *std::move(response),
                             .userInfo = dictionaryIn(archive, firstOfKind("NSDictionary")),
                             .storagePolicy = static_cast<std::uint64_t>(policy.value_or(0))};
}

constexpr std::size_t kRoots = 2;  // the request and the response

// The first object may be anything; the second is the answer.
std::optional<CachedURLResponse> secondObject(const std::optional<ObjectArchive>& archive) {
    if (!archive || archive->roots.size() < kRoots) return std::nullopt;
    return platformResponseIn(*archive, archive->roots[1]);
}

std::optional<CachedURLResponse> brindleResponse(const std::optional<ObjectArchive>& archive) {
    if (!archive || archive->roots.size() < kRoots) return std::nullopt;
    if (!BrindleURLRequest::initWithCoder(*archive, archive->roots[0])) return std::nullopt;
    return BrindleCachedURLResponse::initWithCoder(*archive, archive->roots[1]);
}

// The platform looks for the mark of a property list in the guessed text. Without a wide encoding
// it is in the bytes just the same, and these need no decoding: the parser reads UTF-8.
std::optional<CachedURLResponse> keyedResponse(std::string_view bytes) {
    const bool isWide = bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
    const auto decoded = isWide ? stringByGuessingEncodingFromData(bytes) : std::nullopt;
    const std::string_view text = decoded ? std::string_view(*decoded) : bytes;
    if (text.find("<plist") == std::string_view::npos) return std::nullopt;
    return secondObject(readKeyedArchive(text, kRoots));
}

}  // namespace

std::optional<CachedURLResponse> cachedResponseForData(std::string_view bytes,
                                                       std::string_view fromFile) {
    const auto sequential = readTypedArchive(bytes, kRoots);
    if (auto response = secondObject(sequential)) return response;
    if (auto response = keyedResponse(bytes)) return response;
    const bool isBrindles = lowerCasedAscii(fromFile).find("brindle") != std::string::npos;
    return isBrindles ? brindleResponse(sequential) : std::nullopt;
}

}  // namespace siftwell
