#include "search/PreviewSource.h"

#include <array>
#include <utility>

#include "base/Files.h"
#include "text/MIMEMapper.h"

namespace siftwell {

namespace {

constexpr std::array<std::string_view, 2> kMarks = {"&entry=", "&entry_ID="};
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // of a local text

std::optional<std::string> mappedType(const Url& url) {
    const std::string extension = pathExtension(url.absoluteString());
    const auto type = MIMEMapper::sharedMapper().mimeTypeForExtension(extension);
    return type ? std::optional<std::string>(*type) : std::nullopt;
}

std::optional<PreviewBytes> cachedCopy(const ResultRow& row, const Url& url,
                                       const MakeIndexer& makeIndexer) {
    if (row.cachePath.empty() || !mayHaveObject(row.cachePath)) return std::nullopt;
    SearchItem item;
    item.Name = row.source;
    item.Indexer = row.indexer;
    const auto indexer =
        makeIndexer(row.indexer, std::make_shared<SearchItemRecord>(std::move(item)));
    if (indexer == nullptr) return std::nullopt;
    auto data = indexer->dataFromCache(row.cachePath);
    if (!data) return std::nullopt;
    return PreviewBytes{.bytes = std::move(data->bytes),
                        .mimeType = data->mimeType ? std::move(data->mimeType) : mappedType(url),
                        .textEncodingName = std::move(data->textEncodingName),
                        .baseURL = url};
}

std::optional<PreviewBytes> localText(const Url& url) {
    auto type = url.isFile() ? mappedType(url) : std::nullopt;
    if (!type || type->find("text/") == std::string::npos) return std::nullopt;
    const std::string path = url.path().value_or("");
    const auto info = fileInfo(path);
    if (!info || !info->isRegular || info->bytes > kMostBytes) return std::nullopt;
    auto bytes = readFile(path, kMostBytes);
    if (!bytes) return std::nullopt;
    return PreviewBytes{.bytes = *std::move(bytes),
                        .mimeType = std::move(type),
                        .textEncodingName = std::nullopt,
                        .baseURL = url};
}

}  // namespace

std::optional<Preview> previewOf(const ResultRow& row, const MakeIndexer& makeIndexer) {
    const auto url = row.url.empty() ? std::nullopt : Url::parse(row.url);
    if (!url) return std::nullopt;
    if (auto copy = cachedCopy(row, *url, makeIndexer)) return Preview(*std::move(copy));
    if (auto text = localText(*url)) return Preview(*std::move(text));
    return Preview(*url);
}

bool mayHaveObject(const std::string& cachePath) {
    if (fileInfo(cachePath)) return true;
    for (const std::string_view mark : kMarks) {
        const std::size_t at = cachePath.rfind(mark);
        if (at != std::string::npos && fileInfo(cachePath.substr(0, at))) return true;
    }
    return false;
}

}  // namespace siftwell
