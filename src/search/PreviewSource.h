// Where the preview of a row comes from: the copy that a cache has of the page, a local text, or
// the page's address.
//
// Threads: any; a copy is read by the indexer's class, which may start a process for it and wait.
// Errors: what cannot be read is passed over, and the address is loaded.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "base/Url.h"
#include "indexers/SiftwellIndexer.h"
#include "records/ResultRow.h"

namespace siftwell {

struct PreviewBytes {
    std::string bytes;
    std::optional<std::string> mimeType;  // "application/webarchive": a page with all it needs
    std::optional<std::string> textEncodingName;
    Url baseURL;
};

// Bytes to be shown, or an address to be loaded by a plain request.
using Preview = std::variant<PreviewBytes, Url>;

// An indexer of the class for the item, or null when no class bears the name.
using MakeIndexer = std::function<std::unique_ptr<SiftwellIndexer>(
    const std::string& className, std::shared_ptr<SearchItemRecord> searchItem)>;

// None for a row that is no page.
std::optional<Preview> previewOf(const ResultRow& row, const MakeIndexer& makeIndexer);

// Whether the bytes that a document was handed over with may still be there. Caches that keep many
// objects in one file or folder name them "PLACE&entry=NAME" or "PLACE&entry_ID=NUMBER": what has
// to be there is the place.
bool mayHaveObject(const std::string& cachePath);

}  // namespace siftwell
