#include "indexers/SingleURL.h"

#include <utility>

#include "base/Files.h"
#include "base/Translate.h"

namespace siftwell {

SingleURL::SingleURL(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "SingleURL") {}

void SingleURL::performIndexingScan() {
    for (const Url& url : URLs()) {
        if (!indexingEnabled()) break;
        if (url.hasScheme() && !url.isFile()) {
            hand(url, m_surroundings.clock.now());
        } else {
            indexFile(url);
        }
    }
    setScanResultOfWholeScan();
}

void SingleURL::hand(const Url& url, Date date) {
    reportStatus();
    // One at a time is not announced to the user, but counted.
    m_surroundings.indexes.addToPendingDocumentCount(1);
    indexURL(url, date);
    setLastScanDate(date);
}

void SingleURL::indexFile(const Url& url) {
    const std::string path = url.path().value_or("");
    const auto info = fileInfo(path);
    if (!info) {
        m_surroundings.notifier.reportError(
            _("Please try entering the URL again."), 6, "",
            filledIn(_("There's no file or folder named \"%@\".\n\nIf you're entering the full "
                       "path of a file or folder, make sure that it begins with \"file:///\"."),
                     path));
        return;
    }
    if (info->isFolder) return;
    yieldForPriorityThread();
    if (info->modified <= lastScanDate()) return;
    const std::string extension = pathExtension(path);
    if (canParseContentWithType(0, extension)) {
        // A plain path parses as an address, but as none that is indexed.
        hand(url.hasScheme() ? url : Url::fromFilePath(path), info->modified);
    } else {
        // Only an extension makes a file unreadable: there are no type codes here.
        m_surroundings.notifier.reportError(
            filledIn(_("Siftwell cannot parse files of type \"%@\""), extension), 6, "", "");
    }
}

}  // namespace siftwell
