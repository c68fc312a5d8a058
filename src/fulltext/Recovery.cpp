#include "fulltext/Recovery.h"

#include <algorithm>

#include "base/Log.h"
#include "fulltext/Bytes.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Inverter.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kMaxSettings = 16 << 20;
constexpr std::uint64_t kMaxRemovedRecord = std::uint64_t{1} << 29;

// Words are folded anyway, and those of small letters are read faster.
void makeSmall(std::string& text) {
    for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c | 0x20 : c);
}

// CommitReader makes contents of the commits up to one root.
class CommitReader {
public:
    CommitReader(const std::shared_ptr<const StorageFile>& file, const TermFilter& filter)
        : m_file(file), m_filter(filter) {}

    Result<Contents::Opened> read(const Root& root);

private:
    Status readChain(const Root& root);
    Status readSegments();
    Status readRemovals(const CommittedSegment& committed, LiveSegment& live);
    Status applyCommits();
    Status applyRemoval(DocumentID document);
    Status invertMemory();
    Status checkTotals() const;
    Status damaged(std::string_view what) const { return damagedFile(*m_file, what); }

    std::shared_ptr<const StorageFile> m_file;
    const TermFilter& m_filter;
    std::uint64_t m_end = 0;
    std::vector<Commit> m_chain;  // newest first; the last one is complete
    std::vector<CommittedDocument> m_memory;
    Contents::Opened m_contents;
};

Result<Contents::Opened> CommitReader::read(const Root& root) {
    if (Status status = readChain(root); !status.isOk()) return status;
    if (Status status = readSegments(); !status.isOk()) return status;
    if (Status status = applyCommits(); !status.isOk()) return status;
    if (Status status = invertMemory(); !status.isOk()) return status;
    if (Status status = checkTotals(); !status.isOk()) return status;
    return std::move(m_contents);
}

Status CommitReader::readChain(const Root& root) {
    // What is written next goes behind the end.
    const Result<std::uint64_t> size = m_file->size();
    if (!size) return size.status();
    if (root.end > *size) return damaged("its end is missing");
    m_end = root.end;
    std::uint64_t below = root.generation + 1;
    for (std::uint64_t offset = root.commit; offset != 0; offset = m_chain.back().previous) {
        Result<Commit> commit = readCommit(*m_file, offset);
        if (!commit) return commit.status();
        if (commit->generation >= below) return damaged("its commits are not in order");
        below = commit->generation;
        m_chain.push_back(*std::move(commit));
    }
    if (m_chain.empty() || m_chain.front().generation != root.generation) {
        return damaged("a commit is not where it should be");
    }
    const Commit& newest = m_chain.front();
    m_contents.nextDocument = newest.nextDocument;
    m_contents.totals = {newest.documents, newest.words, newest.documentBytes};
    m_contents.commit = root.commit;
    m_contents.chainLength = m_chain.size() - 1;
    return {};
}

Status CommitReader::readSegments() {
    DocumentID before = 0;
    for (const CommittedSegment& committed : m_chain.back().segments) {
        auto segment = Segment::open(m_file, committed.place);
        if (!segment) return segment.status();
        LiveSegment live{*std::move(segment), nullptr};
        if (committed.place.end() > m_end) return damaged("a segment lies behind its end");
        if (live.segment->firstDocument() <= before ||
            live.segment->lastDocument() >= m_contents.nextDocument) {
            return damaged("its segments are not in order");
        }
        before = live.segment->lastDocument();
        if (Status status = readRemovals(committed, live); !status.isOk()) return status;
        if (live.removed != nullptr && live.removed->size() > live.segment->documents()) {
            return damaged("a list of removed documents is malformed");
        }
        m_contents.segments.push_back(std::move(live));
        m_contents.removedPlaces.push_back(committed.removed);
    }
    return {};
}

Status CommitReader::readRemovals(const CommittedSegment& committed, LiveSegment& live) {
    if (committed.removed == 0) return {};
    const Result<std::string> payload =
        readRecord(*m_file, RecordKind::Live, committed.removed, kMaxRemovedRecord);
    if (!payload) return payload.status();
    auto removed = RemovedSet::parse(*payload);
    if (!removed || removed->first() != live.segment->firstDocument() ||
        removed->last() != live.segment->lastDocument()) {
        return damaged("a list of removed documents is malformed");
    }
    live.removed = std::make_shared<const RemovedSet>(*std::move(removed));
    return {};
}

// Numbers rise from the segments to the documents that stand in none, and from commit to commit.
Status CommitReader::applyCommits() {
    DocumentID lastBefore =
        m_contents.segments.empty() ? 0 : m_contents.segments.back().segment->lastDocument();
    for (auto commit = m_chain.rbegin(); commit != m_chain.rend(); ++commit) {
        for (const CommittedDocument& document : commit->added) {
            if (document.id >= m_contents.nextDocument || document.id <= lastBefore) {
                return damaged("its documents are not in order");
            }
            lastBefore = document.id;
            m_memory.push_back(document);
        }
        for (const DocumentID document : commit->removed) {
            if (Status status = applyRemoval(document); !status.isOk()) return status;
        }
    }
    return {};
}

Status CommitReader::applyRemoval(DocumentID document) {
    const auto inMemory = std::lower_bound(
        m_memory.begin(), m_memory.end(), document,
        [](const CommittedDocument& candidate, DocumentID id) { return candidate.id < id; });
    if (inMemory != m_memory.end() && inMemory->id == document) {
        m_memory.erase(inMemory);
        return {};
    }
    for (std::size_t i = 0; i < m_contents.segments.size(); ++i) {
        LiveSegment& live = m_contents.segments[i];
        if (!live.segment->covers(document)) continue;
        auto removed = live.removed == nullptr
                           ? std::make_shared<RemovedSet>(live.segment->firstDocument(),
                                                          live.segment->lastDocument())
                           : std::make_shared<RemovedSet>(*live.removed);
        removed->insert(document);
        live.removed = std::move(removed);
        m_contents.removedPlaces[i] = 0;
        return {};
    }
    return damaged("a document was removed that was never there");
}

Status CommitReader::invertMemory() {
    Inverter inverter;
    TermTables tables(m_filter);
    for (const CommittedDocument& committed : m_memory) {
        Result<StoredDocument> stored = readDocument(*m_file, committed.place);
        if (!stored) return stored.status();
        if (stored->id != committed.id) return damaged("a document has the wrong number");
        makeSmall(stored->readableText);
        const Result<std::uint64_t> size = documentRecordSize(*m_file, committed.place);
        if (!size) return size.status();
        m_contents.memory.push_back(std::make_shared<const MemoryDocument>(
            MemoryDocument{.id = committed.id,
                           .key = stored->key,
                           .keyHash = hashOfKey(stored->key),
                           .place = committed.place,
                           .recordBytes = *size,
                           .textBytes = stored->readableText.size(),
                           .text = std::make_shared<const InvertedText>(
                               inverter.invert(stored->readableText, tables))}));
    }
    return {};
}

Status CommitReader::checkTotals() const {
    std::uint64_t documents = m_contents.memory.size();
    for (const LiveSegment& live : m_contents.segments) documents += live.liveDocuments();
    if (documents != m_contents.totals.documents)
        return damaged("the number of documents is wrong");
    return {};
}

// Reads all that was written behind `durableEnd` and belongs to the contents.
Status checkSinceDurable(const StorageFile& file, const Contents::Opened& contents,
                         std::uint64_t durableEnd) {
    for (const LiveSegment& live : contents.segments) {
        if (live.segment->place().offset < durableEnd) continue;
        if (Status status = live.segment->checkBytes(); !status.isOk()) return status;
        const auto documents = live.segment->describeDocuments();
        if (!documents) return documents.status();
        for (const SegmentDocument& document : *documents) {
            if (document.place < durableEnd || !live.isLive(document.id)) continue;
            const auto identity = readIdentity(file, document.place);
            if (!identity) return identity.status();
        }
    }
    return {};
}

}  // namespace

Result<Recovered> recover(const std::shared_ptr<const StorageFile>& file, const Header& header,
                          const TermFilter& filter) {
    // Lost power breaks roots of one pair only: newer ones may have been overwritten.
    if (header.isDurableSlotBroken && header.isLatestSlotBroken) {
        return damagedFile(*file, "its roots are damaged");
    }
    if (header.latest && header.latest != header.durable &&
        (!header.durable || header.latest->generation > header.durable->generation)) {
        auto contents = CommitReader(file, filter).read(*header.latest);
        const std::uint64_t durableEnd = header.durable ? header.durable->end : 0;
        const Status status =
            contents ? checkSinceDurable(*file, *contents, durableEnd) : contents.status();
        if (status.isOk()) return Recovered{*std::move(contents), *header.latest, false};
        // What a durable slot names is on the disk. Where one is missing, this is no lost power.
        if (header.isDurableSlotBroken) return status;
        writeLog("The last changes of an index did not reach the disk: " + status.message());
    }
    if (!header.durable) return damagedFile(*file, "it has no commit");
    auto contents = CommitReader(file, filter).read(*header.durable);
    if (!contents) return contents.status();
    return Recovered{*std::move(contents), *header.durable, true};
}

std::string serializeSettings(const IndexSettings& settings) {
    std::string payload;
    appendNumber(payload, settings.minimumTermLength);
    payload += settings.internalName ? '\1' : '\0';
    const std::string name = settings.internalName.value_or("");
    appendNumber(payload, static_cast<std::uint32_t>(name.size()));
    payload += name;
    appendNumber(payload, static_cast<std::uint32_t>(settings.stopWords.size()));
    for (const std::string& word : settings.stopWords) {
        appendNumber(payload, static_cast<std::uint32_t>(word.size()));
        payload += word;
    }
    return payload;
}

Result<IndexSettings> readSettings(const StorageFile& file, std::uint64_t offset) {
    const Result<std::string> payload =
        readRecord(file, RecordKind::Settings, offset, kMaxSettings);
    if (!payload) return payload.status();
    ByteReader reader(*payload);
    IndexSettings settings;
    settings.minimumTermLength = reader.number<std::uint32_t>();
    const bool hasName = reader.number<std::uint8_t>() != 0;
    const std::string_view name = reader.bytes(reader.number<std::uint32_t>());
    if (hasName) settings.internalName = name;
    const auto words = reader.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < words && reader.isOk(); ++i) {
        settings.stopWords.emplace_back(reader.bytes(reader.number<std::uint32_t>()));
    }
    if (!reader.isAtEnd()) return damagedFile(file, "its settings are malformed");
    return settings;
}

}  // namespace siftwell::fulltext
