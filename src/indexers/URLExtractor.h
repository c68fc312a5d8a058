// URLExtractor indexes the pages whose addresses stand in files of any kind: exported bookmarks,
// link files, logs, plain texts.
//
// A file with the extension "monitor" is read at every scan, and its pages count as visited now.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "indexers/SiftwellIndexer.h"

namespace siftwell {

class URLExtractor : public SiftwellIndexer {
public:
    URLExtractor(const Surroundings& surroundings, std::shared_ptr<SearchItemRecord> searchItem);

    void performIndexingScan() override;

private:
    // The newest date that was handed over, or lastURLDate() when nothing was found.
    Date indexFileWithPath(const std::string& path);
    void indexMonitors();
    Date indexDump(const std::string& path);
    std::vector<BatchEntry> entriesInLinkFile(const std::string& path) const;
    std::vector<BatchEntry> entriesInFile(const std::string& path, const std::string& extension);
    std::vector<BatchEntry> entriesInText(const std::string& text, const std::string& extension);
    // As extractURLsInString, each with the date.
    void extract(std::string_view text, std::vector<BatchEntry>& entries, std::optional<Date> date,
                 std::string_view endTokens) const;
};

}  // namespace siftwell
