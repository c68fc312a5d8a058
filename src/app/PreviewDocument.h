// PreviewDocument: the page of a row in the form in which a web view takes it.
//
// Feeds have become pages, pages that were saved with their pictures and frames are taken apart,
// and relative addresses in markup lead where they led from the page's own address.
//
// Threads: any; reading may start a process and wait for it. Errors: what cannot be read from a
// copy is loaded from its address. Memory is a small multiple of what is shown.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/ItemScan.h"
#include "records/CachedObject.h"
#include "records/ResultRow.h"

namespace siftwell {

struct PreviewDocument {
    WebResource page;                // its type is known, in small letters
    std::vector<WebResource> parts;  // likewise; what it was saved with
};

// Or the address to be loaded: http, https or feed.
using PreviewContent = std::variant<PreviewDocument, Url>;

// None when there is nothing that could be shown.
std::optional<PreviewContent> previewContentOf(const ResultRow& row,
                                               const IndexerFactory& makeIndexer);

// Whether what a server calls so is to be read as a feed.
bool isFeedType(std::string_view mimeType);

// A feed's page; none when it is no feed.
std::optional<PreviewDocument> documentOfFeed(const WebResource& feed);

}  // namespace siftwell
