#include "index/IndexRepair.h"

#include "base/Files.h"
#include "index/PropertyRecordFile.h"

namespace siftwell {

namespace {

using fulltext::DocumentID;
using fulltext::DocumentState;
using fulltext::Index;
using fulltext::RepairHints;

// Null when there is none that can be read.
std::shared_ptr<const PropertyRecordFile> readableRecords(const std::string& sideFile) {
    if (!fileInfo(sideFile)) return nullptr;
    auto records = PropertyRecordFile::openForReading(sideFile);
    if (!records || *records == nullptr || !(*records)->check().isOk()) return nullptr;
    return *std::move(records);
}

// What the side file knows of the index.
RepairHints hintsFor(const IndexFile& file, const std::set<std::string>& stopWords) {
    RepairHints hints;
    hints.settings.internalName = lastPathComponent(file.name);
    hints.settings.stopWords.assign(stopWords.begin(), stopWords.end());
    const std::string sideFile = OpenIndex::sideFileOf(file.path);
    const auto records = readableRecords(sideFile);
    if (records == nullptr) return hints;
    const auto identity = records->identity();
    const auto next = records->nextDocument();
    const auto removed = records->removed();
    if (!identity || !*identity || !next || !removed) return hints;
    hints.identity = **identity;
    hints.next = *next;
    const bool wereRecordsLost = fileInfo(sideFile + ".damaged").has_value();
    hints.isAlive = [records, wereRecordsLost, removed = *removed,
                     next = *next](DocumentID id) -> std::optional<bool> {
        if (removed.contains(id)) return false;
        if (id >= next) return std::nullopt;
        const auto record = records->record(id);
        if (!record) return std::nullopt;
        if (!record->has_value() && wereRecordsLost) return std::nullopt;
        return record->has_value();
    };
    return hints;
}

void dropRecordsWithoutDocument(OpenIndex& index) {
    constexpr std::size_t kRecordsPerLook = 1000;
    for (DocumentID last = 0;;) {
        const auto records = index.properties->recordsBehind(last, kRecordsPerLook);
        if (records.empty()) return;
        for (const auto& [document, record] : records) {
            if (index.index->stateOf(document) == DocumentState::NotIndexed) {
                index.properties->removeSKDocument(document);
            }
        }
        last = records.back().first;
    }
}

Status settleRecords(const IndexFile& file, RepairedIndex& repaired) {
    auto index = Index::open(file.path, std::nullopt, Index::Access::ReadWrite, {});
    if (!index) return index.status();
    OpenIndex open{.name = file.name, .path = file.path, .index = *std::move(index)};
    Status told;
    open.properties = std::make_unique<DocumentProperties>(
        OpenIndex::sideFileOf(file.path), *open.index, Index::Access::ReadWrite,
        [&told](const Status& status) { told = status; });
    static_cast<void>(open.properties->checkAndSetAside());
    repaired.records = told;
    told = {};
    dropRecordsWithoutDocument(open);
    repaired.documents = open.index->documentCount();
    repaired.withoutRecord = countWithoutRecord(open);
    Status status = open.flush();
    if (status.isOk()) status = open.close();
    return status.isOk() ? told : status;
}

}  // namespace

std::optional<RepairedIndex> repairIndexFile(const IndexFile& file,
                                             const std::set<std::string>& stopWords,
                                             const fulltext::PaceCallback& pace) {
    auto checked = checkIndexFile(file);
    if (!checked) return std::nullopt;
    RepairedIndex repaired{.before = *std::move(checked)};
    if (repaired.before.status.isOk()) return repaired;
    auto report = fulltext::repairIndex(file.path, hintsFor(file, stopWords),
                                        fulltext::Storage::system(), pace);
    if (report) {
        repaired.report = *std::move(report);
        repaired.status = settleRecords(file, repaired);
    } else {
        repaired.status = report.status();
    }
    return repaired;
}

}  // namespace siftwell
