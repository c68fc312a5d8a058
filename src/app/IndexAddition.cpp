#include "app/IndexAddition.h"

#include "base/Translate.h"

namespace siftwell {

namespace {

std::string nameFor(const Url& url) {
    std::string last = url.lastPathComponent();
    if (!last.empty() && last != "/") return last;
    return url.host().value_or("");
}

std::string placeOf(const Url& url) {
    return url.isFile() ? url.path().value_or("") : url.absoluteString();
}

// The file or folder is scanned once; other sources at every scan.
bool isScannedOnce(const std::string& indexer) {
    return indexer == "LocalFiles" || indexer == "SingleURL";
}

AdditionProblem noName() {
    return {_("Please enter a valid URL to a page or document."),
            _("It must contain a path or host name.")};
}

void read(SearchItem& item, const std::string& indexer, std::string path) {
    item.Indexer = indexer;
    item.IndexOnce = isScannedOnce(indexer);
    item.Path = std::move(path);
}

}  // namespace

AdditionOutcome searchItemForAddition(
    const Driver::Addition& addition,
    const std::function<bool(const std::string& path)>& isFolder) {
    const Url& url = addition.url;
    SearchItem item;
    item.Name = nameFor(url);
    item.Index = true;
    item.Search = true;
    item.UserItem = true;
    item.LastScanDate = Date::distantPast();
    if (item.Name.empty()) return noName();
    if (addition.indexer) {
        read(item, *addition.indexer, placeOf(url));
    } else if (!url.isFile()) {
        if (!url.hasScheme()) {
            return AdditionProblem{
                _("Please enter a full URL."),
                _("It must begin with a 'scheme' such as \"http://\" or \"file://\".")};
        }
        // Opaque addresses have no page of their own to load.
        item.Name = url.host().value_or("");
        if (item.Name.empty()) return noName();
        read(item, "SingleURL", url.absoluteString());
    } else if (isFolder(placeOf(url))) {
        read(item, "LocalFiles", placeOf(url));
    } else if (addition.fileUse == Driver::FileUse::ExtractURLs) {
        read(item, "URLExtractor", placeOf(url));
    } else if (addition.fileUse == Driver::FileUse::IndexContents) {
        read(item, "SingleURL", url.absoluteString());
    } else {
        return AdditionQuestion{};
    }
    return item;
}

Alert fileQuestion() {
    return {.title = _("What should Siftwell do with this file?"),
            .text = _("Siftwell can do one of two things:\r\r1) Index the contents of the file so "
                      "you can search for words it contains.\r\r2) Treat it like a bookmark file, "
                      "extracting URLs from the file, downloading those pages, and adding them to "
                      "your search index."),
            .buttons = {_("Extract URLs"), _("Index Contents")}};
}

}  // namespace siftwell
