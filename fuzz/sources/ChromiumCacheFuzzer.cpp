// Any bytes as what the Chrome family's cache consists of; the first tells as what. Numbers that
// would only have to agree with the rest are put right.

#include "CachedPageRules.h"
#include "sources/CacheBytes.h"
#include "sources/caches/ChromiumBlockFiles.h"
#include "sources/caches/ChromiumResponse.h"
#include "sources/caches/ChromiumSimpleEntry.h"

namespace {

using namespace siftwell;
using fuzz::require;

void readEntry(std::string_view bytes) {
    fuzz::requirePage(readChromiumSimpleEntry(BytesInMemory(bytes), Date::distantPast()));
}

void readResponse(std::string_view bytes) {
    const auto [key, rest] = fuzz::atFirstLineEnd(bytes);
    const auto address = addressInChromiumKey(key);
    require(!address || key.ends_with(*address));
    readChromiumResponse(rest);
    readChromiumResponse(cachebytes::littleEndian(rest.size()) + std::string(rest));
}

void readIndex(std::string_view payload) {
    const auto index = readChromiumSimpleIndex(
        cachebytes::littleEndian(payload.size()) +
        cachebytes::littleEndian(cachebytes::checksumOf(payload)) + std::string(payload));
    require(!index || index->size() <= payload.size() / 24);
}

// The table of the index, then blocks; what is behind the entries' stands in all other files too.
void readBlockFiles(std::string_view bytes) {
    constexpr std::size_t kTable = 16;
    if (bytes.size() < kTable) return;
    cachebytes::BlockFolder folder;
    folder.files["index"].replace(368, kTable, bytes.substr(0, kTable));
    bytes.remove_prefix(kTable);
    folder.files["data_1"] += bytes;
    const std::string_view others = bytes.substr(std::min<std::size_t>(512, bytes.size()));
    for (const char* name : {"data_0", "data_2", "data_3", "f_000000"}) {
        folder.files[name] += others;
    }
    ChromiumBlockFiles reader([&folder](const std::string& name) -> std::unique_ptr<ByteSource> {
        const auto file = folder.files.find(name);
        if (file == folder.files.end()) return nullptr;
        return std::make_unique<BytesInMemory>(file->second);
    });
    const auto entries = reader.entries().entries;
    require(entries.size() <= 4 * (bytes.size() / 256 + 1));  // of one to four blocks each
    for (const auto& entry : entries) fuzz::requirePage(reader.page(entry.address));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes = fuzz::asText(data, size).substr(1);
    switch (data[0] % 4) {
        case 0:
            readEntry(bytes);
            break;
        case 1:
            readResponse(bytes);
            break;
        case 2:
            readIndex(bytes);
            break;
        default:
            readBlockFiles(bytes);
    }
    return 0;
}
