// Any bytes as an archive of each form. What is read of it is bounded, whatever refers to what, and
// what a response consists of comes from the bytes.

#include <string>

#include "Require.h"
#include "sources/archives/ArchivedResponse.h"
#include "sources/archives/ArchivedURLResponse.h"
#include "sources/archives/ArchivedValues.h"
#include "sources/archives/BrindleArchive.h"
#include "sources/archives/KeyedArchive.h"
#include "sources/archives/TypedArchive.h"
#include "text/Ascii.h"
#include "text/Utf8.h"

namespace {

using namespace siftwell;
using fuzz::require;

constexpr std::size_t kRoots = 2;

std::size_t valuesIn(const ObjectArchive& archive) {
    std::size_t values = 0;
    for (const ArchivedObject& object : archive.objects) {
        require(object.keys.size() == (archive.isKeyed ? object.values.size() : 0));
        values += object.values.size();
    }
    return values;
}

void readEverything(const std::optional<ObjectArchive>& archive) {
    if (!archive) return;
    require(valuesIn(*archive) <= ObjectArchive::kMaxValues);
    for (std::size_t i = 0; i < archive->objects.size(); ++i) {
        const ArchivedValue value = ArchivedReference{i};
        stringIn(*archive, value);
        dataIn(*archive, value);
        urlIn(*archive, value);
        integerIn(*archive, value);
        realIn(*archive, value);
        membersIn(*archive, value);
        dictionaryIn(*archive, value);
        responseIn(*archive, value);
        BrindleURLRequest::initWithCoder(*archive, value);
        BrindleCachedURLResponse::initWithCoder(*archive, value);
    }
}

void checkResponse(const CachedURLResponse& cached, std::size_t size) {
    require(cached.data.size() <= size);
    const URLResponse& response = cached.response;
    require(response.url.hasScheme());
    require(!response.mimeType || *response.mimeType == lowerCasedAscii(*response.mimeType));
    require(!response.textEncodingName || isValidUtf8(*response.textEncodingName));
    require(response.expectedContentLength.value_or(0) >= 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::asText(data, size);
    const auto sequential = readTypedArchive(bytes, kRoots);
    require(!sequential || valuesIn(*sequential) <= size);
    readEverything(sequential);
    readEverything(readKeyedArchive(bytes, kRoots));
    const auto usual = cachedResponseForData(bytes, "/Caches/1");
    const auto own = cachedResponseForData(bytes, "/Caches/Brindle/1");
    require(own.has_value() || !usual.has_value());
    if (own) checkResponse(*own, size);
    return 0;
}
