#include "indexers/URLExtractor.h"

#include <algorithm>
#include <utility>

#include "base/FilePieces.h"
#include "base/Files.h"
#include "indexers/InternetExplorer.h"
#include "sources/FileDates.h"
#include "sources/LinkFile.h"
#include "sources/UrlExtraction.h"
#include "text/Ascii.h"
#include "text/Encodings.h"

namespace siftwell {

namespace {

constexpr std::string_view kTextEndTokens = "\t\r\n\";>";
constexpr std::string_view kFrontOfDump = "<DL><P><DT>";
constexpr std::size_t kPieceBytes = std::size_t{4} << 20;

std::string smallExtensionOf(const std::string& path) {
    return lowerCasedAscii(pathExtension(path));
}

bool isDump(const std::string& path) {
    const auto front = readFile(path, kFrontOfDump.size());
    return front && *front == kFrontOfDump;
}

}  // namespace

URLExtractor::URLExtractor(const Surroundings& surroundings,
                           std::shared_ptr<SearchItemRecord> searchItem)
    : SiftwellIndexer(surroundings, std::move(searchItem), "URLExtractor") {}

void URLExtractor::performIndexingScan() {
    const std::vector<std::string> changed = parsableFilesAtPaths(paths());
    Date newest = lastURLDate();
    for (const std::string& path : changed) {
        if (!indexingEnabled()) break;
        yieldForPriorityThread();
        newest = std::max(newest, indexFileWithPath(path));
    }
    if (changed.empty()) {
        indexMonitors();
    } else {
        setLastURLDate(newest);
    }
    setScanResultOfWholeScan();
}

void URLExtractor::indexMonitors() {
    for (const std::string& path : paths()) {
        if (!indexingEnabled()) return;
        if (smallExtensionOf(path) != "monitor") continue;
        setLastScanDate(modificationDateOfFileAtPath(path));
        setLastURLDate(indexFileWithPath(path));
    }
}

// A dump of the program's own may be larger than what is read of other files: all pages of an index
// that is rebuilt stand in it. It is read and handed over piece by piece.
Date URLExtractor::indexDump(const std::string& path) {
    const InternetExplorer lists(m_surroundings, searchItem());
    Date newest = lastURLDate();
    FilePieces pieces(path, "</DL>\n", kPieceBytes);
    while (indexingEnabled()) {
        reportProgress("Checking URL dates...");
        const auto piece = pieces.next();
        const std::vector<BatchEntry> entries =
            piece ? lists.parseEntriesInString(*piece) : std::vector<BatchEntry>();
        reportProgressDone("Checking URL dates...");
        if (!piece) break;
        newest = std::max(newest, indexURLAndDateArray(entries));
    }
    return newest;
}

Date URLExtractor::indexFileWithPath(const std::string& path) {
    if (isDump(path)) return indexDump(path);
    const std::string extension = smallExtensionOf(path);
    const std::vector<BatchEntry> entries =
        extension == "webloc" ? entriesInLinkFile(path) : entriesInFile(path, extension);
    reportProgressDone("Checking URL dates...");
    noteLimit(entries.size(), path);
    return entries.empty() ? lastURLDate() : indexURLAndDateArray(entries);
}

std::vector<BatchEntry> URLExtractor::entriesInLinkFile(const std::string& path) const {
    std::vector<BatchEntry> entries;
    if (!indexingEnabled()) return entries;
    if (const auto address = addressInLinkFile(path)) {
        extract(*address, entries, modificationDateOfLinkAtPath(path), "");
    }
    return entries;
}

std::vector<BatchEntry> URLExtractor::entriesInFile(const std::string& path,
                                                    const std::string& extension) {
    const std::string text =
        stringByGuessingEncodingFromData(bytesOfFile(path).value_or("")).value_or("");
    if (text.empty() || !indexingEnabled()) return {};
    reportProgress("Checking URL dates...");
    return entriesInText(text, extension);
}

std::vector<BatchEntry> URLExtractor::entriesInText(const std::string& text,
                                                    const std::string& extension) {
    std::vector<BatchEntry> entries;
    const bool isMonitor = extension == "monitor";
    if (extension == "dat") extract(text, entries, std::nullopt, ")");
    if (!isMonitor) {
        const InternetExplorer lists(m_surroundings, searchItem());
        for (BatchEntry& entry : lists.parseEntriesInString(text)) {
            entries.push_back(std::move(entry));
        }
    }
    if (entries.empty()) {
        const auto date = isMonitor ? std::optional(m_surroundings.clock.now()) : std::nullopt;
        extract(text, entries, date, kTextEndTokens);
    }
    return entries;
}

void URLExtractor::extract(std::string_view text, std::vector<BatchEntry>& entries,
                           std::optional<Date> date, std::string_view endTokens) const {
    for (Url& url : extractURLsInString(text, endTokens, [this] { return indexingEnabled(); })) {
        entries.push_back({.url = std::move(url), .date = date});
    }
}

}  // namespace siftwell
