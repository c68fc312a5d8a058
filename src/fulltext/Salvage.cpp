#include "fulltext/Salvage.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "fulltext/ByteSearch.h"
#include "fulltext/Bytes.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/SegmentFormat.h"
#include "fulltext/Survey.h"

namespace siftwell::fulltext {

namespace {

// One length byte, then each character as a 0 byte and the character.
std::string markerOf(std::string_view scheme) {
    std::string marker(1, static_cast<char>(scheme.size()));
    for (const char c : scheme) {
        marker += '\0';
        marker += c;
    }
    return marker;
}

// One length byte and the bytes; behind a 0 byte stands a 32-bit length. Empty when it does not lie
// within the bytes.
std::string_view nameAt(std::string_view bytes) {
    ByteReader reader(bytes);
    std::size_t length = reader.number<std::uint8_t>();
    if (length == 0) length = reader.number<std::uint32_t>();
    if (length > kMaxNameBytes) return {};
    const std::string_view name = reader.bytes(length);
    return reader.isOk() ? name : std::string_view();
}

// Looks before it copies: a name may be long, and hostile bytes may claim many that overlap. None
// of those is an address, since a scheme that is stored within has 0 bytes.
std::optional<Url> addressOf(std::string_view scheme, std::string_view name) {
    const auto isPrintable = [](char c) { return c > ' ' && c < 0x7F; };
    if (name.empty() || !std::all_of(name.begin(), name.end(), isPrintable)) return std::nullopt;
    std::string text(scheme);
    text.append(1, ':').append(name);
    return Url::parse(text);
}

// Where the records begin of documents that the file tells to be gone; sorted.
std::vector<std::uint64_t> removedRecords(const Survey& survey) {
    std::vector<std::uint64_t> places;
    for (const FoundDocument& document : survey.documents()) {
        const Fate fate = survey.fateOf(document);
        if (fate == Fate::Removed || fate == Fate::Stale) places.push_back(document.place.offset);
    }
    std::sort(places.begin(), places.end());
    return places;
}

}  // namespace

// Behind an address the search goes on behind it, so that hostile bytes cost no more than others.
void addressesInBytes(std::string_view bytes, std::string_view scheme, const TakeAddress& take,
                      const PaceCallback& pace) {
    constexpr std::int64_t kBeforeScheme = kRecordHeaderSize + sizeof(DocumentID);
    if (scheme.empty() || scheme.size() > 255) return;
    const std::string marker = markerOf(scheme);
    std::size_t at = findBytes(bytes, marker, 0);
    while (at != std::string_view::npos) {
        if (pace) pace();
        const std::string_view name = nameAt(bytes.substr(at + marker.size()));
        auto url = addressOf(scheme, name);
        std::size_t next = at + 1;
        if (url) {
            next = static_cast<std::size_t>(name.data() - bytes.data()) + name.size();
            if (!take(*std::move(url), static_cast<std::int64_t>(at) - kBeforeScheme)) return;
        }
        at = findBytes(bytes, marker, next);
    }
}

Status salvageAddresses(const std::string& path, std::string_view scheme, Storage& storage,
                        const std::function<bool(Url url)>& take, const PaceCallback& pace) {
    auto file = storage.open(path, Storage::Mode::ReadOnly);
    if (!file) return file.status();
    const std::shared_ptr<const StorageFile> shared(*std::move(file));
    const auto survey = Survey::make(shared, pace);
    if (!survey) return survey.status();
    const std::vector<std::uint64_t> removed = removedRecords(*survey);
    std::unordered_set<std::uint64_t> taken;  // a hash of each
    const auto takeNew = [&](Url url, std::int64_t record) {
        const bool isRemoved = record > 0 && std::binary_search(removed.begin(), removed.end(),
                                                                static_cast<std::uint64_t>(record));
        if (isRemoved || !taken.insert(hashOfKey({"", url.absoluteString()})).second) return true;
        return take(std::move(url));
    };
    addressesInBytes(survey->bytes(), scheme, takeNew, pace);
    return {};
}

}  // namespace siftwell::fulltext
