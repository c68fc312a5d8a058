#include "indexers/BrowserCacheIndexer.h"

#include <utility>

#include "base/Files.h"
#include "indexers/IndexerTool.h"

namespace siftwell {

namespace {

constexpr std::string_view kEntry = "&entry=";

// An entry that is a file of its own is named by its path; others lie somewhere in the folder.
std::string objectPathOf(const std::string& folder, const std::string& entry) {
    std::string path = folder + "/" + entry;
    if (fileInfo(path)) return path;
    return folder + std::string(kEntry) + entry;
}

struct ObjectPlace {
    std::string folder;
    std::string entry;
};

std::optional<ObjectPlace> placeIn(const std::string& objectPath) {
    std::size_t end = objectPath.rfind(kEntry);
    std::size_t length = kEntry.size();
    if (end == std::string::npos) {
        end = objectPath.rfind('/');
        length = 1;
    }
    if (end == std::string::npos) return std::nullopt;
    return ObjectPlace{objectPath.substr(0, end), objectPath.substr(end + length)};
}

// The retriever takes texts alone, and markup is read as markup whatever it is called.
std::string typeOfText(const std::string& mimeType) {
    if (mimeType == "application/xhtml+xml") return "text/html";
    return mimeType == "application/xml" ? "text/xml" : mimeType;
}

// The tool is not trusted with paths.
bool isName(const std::string& entry) {
    return !entry.empty() && entry.find('/') == std::string::npos;
}

}  // namespace

void BrowserCacheIndexer::performIndexingScan() {
    const auto hold = beginCacheIndexing();
    performIndexingScanInTask();
}

void BrowserCacheIndexer::takePage(const std::string& folder, wire::Page&& page) {
    auto url = Url::parse(page.page.url);
    if (!url || !isName(page.place.entry)) return;
    if (!m_surroundings.indexes.canProcessURL(*url)) return;
    yieldForPriorityThread();
    reportStatus();
    reportProgressStarting(1);
    indexObject(WebResource{.url = *std::move(url),
                            .mimeType = typeOfText(page.page.mimeType),
                            .textEncodingName = std::move(page.page.textEncodingName),
                            .data = std::move(page.page.data)},
                page.page.lastUsed, objectPathOf(folder, page.place.entry));
}

std::optional<CachedData> BrowserCacheIndexer::dataFromCache(const std::string& objectPath) {
    const auto place = placeIn(objectPath);
    if (!place || !isName(place->entry)) return std::nullopt;
    auto page =
        pageFromTool(m_surroundings.paths.indexerTool, className(), place->folder, place->entry);
    if (!page) return std::nullopt;
    return CachedData{.bytes = std::move(page->data),
                      .mimeType = std::move(page->mimeType),
                      .textEncodingName = std::move(page->textEncodingName)};
}

}  // namespace siftwell
