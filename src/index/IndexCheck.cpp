#include "index/IndexCheck.h"

#include "base/Files.h"
#include "base/Translate.h"
#include "fulltext/Repair.h"

namespace siftwell {

namespace {

using fulltext::Index;

Status statusOf(const CheckedIndex& checked) {
    if (checked.findings.isEmpty()) return checked.records;
    return {StatusCode::Damaged, filledIn(_("The index file %@ is damaged (%@)."), checked.path,
                                          sentenceFor(checked.findings.named().front()))};
}

CheckedIndex checkUnopened(const IndexFile& file, Status status) {
    CheckedIndex checked{.name = file.name, .path = file.path, .status = std::move(status)};
    const bool isReadable = checked.status.code() == StatusCode::Damaged ||
                            checked.status.code() == StatusCode::NotFound;
    if (!isReadable) return checked;
    auto findings = fulltext::findDamageIn(file.path, fulltext::Storage::system());
    if (findings) checked.findings = *std::move(findings);
    return checked;
}

}  // namespace

std::uint64_t countWithoutRecord(const OpenIndex& index) {
    constexpr std::size_t kDocumentsPerLook = 1000;
    std::uint64_t count = 0;
    for (fulltext::DocumentID last = 0;;) {
        const auto documents = index.index->documentsBehind(last, kDocumentsPerLook);
        if (documents.empty()) return count;
        for (const fulltext::DocumentID document : documents) {
            if (!index.properties->dateForSKDocument(document)) ++count;
        }
        last = documents.back();
    }
}

CheckedIndex checkIndex(const OpenIndex& index) {
    CheckedIndex checked{
        .name = index.name, .path = index.path, .documents = index.index->documentCount()};
    checked.findings = index.index->findDamage();
    checked.records = index.properties->check();
    checked.status = statusOf(checked);
    if (checked.status.isOk()) checked.withoutRecord = countWithoutRecord(index);
    return checked;
}

std::optional<CheckedIndex> checkIndexFile(const IndexFile& file) {
    const std::string sideFile = OpenIndex::sideFileOf(file.path);
    OpenIndex open{.name = file.name, .path = file.path};
    auto index = Index::open(file.path, std::nullopt, Index::Access::ReadOnly, {});
    if (!index) {
        const bool isNone = index.status().code() == StatusCode::NotFound && !fileInfo(sideFile);
        if (isNone) return std::nullopt;
        return checkUnopened(file, index.status());
    }
    const auto& name = (*index)->settings().internalName;
    if (name && *name != lastPathComponent(file.name)) return std::nullopt;
    open.index = *std::move(index);
    open.properties = std::make_unique<DocumentProperties>(
        sideFile, *open.index, Index::Access::ReadOnly, DocumentProperties::ErrorHandler());
    CheckedIndex checked = checkIndex(open);
    const bool isUnused = checked.status.isOk() && checked.documents == 0;
    return isUnused ? std::nullopt : std::optional(std::move(checked));
}

}  // namespace siftwell
