#include "fulltext/Checker.h"

#include <set>

#include "base/Translate.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Inverter.h"
#include "fulltext/Survey.h"

namespace siftwell::fulltext {

namespace {

class Checker {
public:
    Checker(const IndexCore& index, std::uint64_t enough)
        : m_enough(enough), m_tables(index.filter) {}

    void checkRoots(const StorageFile& file);
    void checkSegment(const LiveSegment& live);
    void checkDocument(const StorageFile& file, const SegmentDocument& document,
                       std::optional<std::uint64_t> words);
    void findHidden(const std::shared_ptr<const StorageFile>& file);
    Findings takeFindings() { return std::move(m_findings); }

private:
    void addSegment(const Segment& segment, const Status& status);
    void addDocument(const StorageFile& file, const SegmentDocument& document, std::string what);
    void checkOneByOne(const LiveSegment& live);

    bool isEnough() const { return m_findings.count() >= m_enough; }

    const std::uint64_t m_enough;
    Inverter m_inverter;
    TermTables m_tables;
    bool m_arePlacesHidden = false;
    std::set<std::uint64_t> m_named;  // offsets of documents
    Findings m_findings;
};

// One slot of a pair may be torn: that is why there are two.
void Checker::checkRoots(const StorageFile& file) {
    const Result<std::string> page = file.readAt(0, kHeaderPageSize);
    if (!page) return m_findings.add(DamagedPart::Header, 0, detailOf(page.status(), file));
    if (const auto damaged = damagedRoots(*page)) {
        m_findings.add(DamagedPart::Roots, damaged->offset, damaged->what);
    }
}

void Checker::addSegment(const Segment& segment, const Status& status) {
    m_findings.add({.part = DamagedPart::Segment,
                    .offset = segment.place().offset,
                    .first = segment.firstDocument(),
                    .last = segment.lastDocument(),
                    .key = std::nullopt,
                    .what = detailOf(status, segment.file())});
}

void Checker::addDocument(const StorageFile& file, const SegmentDocument& document,
                          std::string what) {
    m_named.insert(document.place);
    auto key = keyIfReadable(file, document.place, document.id);
    if (key && document.keyHash != 0 && hashOfKey(*key) != document.keyHash) key.reset();
    m_findings.add({.part = DamagedPart::Document,
                    .offset = document.place,
                    .first = document.id,
                    .last = document.id,
                    .key = std::move(key),
                    .what = std::move(what)});
}

// The text of a document must have the words that the segment counts.
void Checker::checkDocument(const StorageFile& file, const SegmentDocument& document,
                            std::optional<std::uint64_t> words) {
    if (isEnough()) return;
    const auto stored = readDocument(file, document.place);
    if (!stored) return addDocument(file, document, detailOf(stored.status(), file));
    const bool isRight =
        stored->id == document.id &&
        (document.keyHash == 0 || hashOfKey(stored->key) == document.keyHash) &&
        (!words || m_inverter.invert(stored->readableText, m_tables).words() == *words);
    if (!isRight) addDocument(file, document, _("it is not the page that its segment knows"));
}

void Checker::checkSegment(const LiveSegment& live) {
    if (isEnough()) return;
    const Status status = live.segment->check();
    if (!status.isOk()) addSegment(*live.segment, status);
    if (isEnough()) return;
    const auto documents = live.segment->describeDocuments();
    if (!documents) return checkOneByOne(live);
    for (const SegmentDocument& document : *documents) {
        if (live.isLive(document.id)) checkDocument(live.segment->file(), document, document.words);
    }
}

// As far as the blocks with the documents' places are whole.
void Checker::checkOneByOne(const LiveSegment& live) {
    const Segment& segment = *live.segment;
    for (DocumentID id = segment.firstDocument(); id <= segment.lastDocument(); ++id) {
        const auto place = segment.placeOf(id);
        m_arePlacesHidden = m_arePlacesHidden || !place;
        if (!place || *place == 0 || !live.isLive(id)) continue;
        checkDocument(segment.file(), {.id = id, .place = *place}, std::nullopt);
    }
}

// Where a segment does not tell any more where its documents lie, the file is searched for them.
void Checker::findHidden(const std::shared_ptr<const StorageFile>& file) {
    if (!m_arePlacesHidden || isEnough()) return;
    const auto survey = Survey::make(file, {});
    if (!survey) return;
    for (const Finding& finding : survey->findings().named()) {
        const bool isNew =
            finding.part == DamagedPart::Document && !m_named.contains(finding.offset);
        if (isNew) m_findings.add(finding);
    }
}

}  // namespace

Findings checkIndex(IndexCore& index, std::uint64_t enough) {
    const SharedHold hold(index.switching);
    std::vector<LiveSegment> segments;
    MemoryDocuments memory;
    std::shared_ptr<StorageFile> file;
    {
        MutexLock lock(index.mutex);
        segments = index.contents.segments();
        memory = index.contents.liveMemory();
        std::erase_if(memory, [&index](const auto& document) SW_REQUIRES(index.mutex) {
            return index.contents.isPending(document->id);
        });
        file = index.file;
    }
    Checker checker(index, enough);
    checker.checkRoots(*file);
    for (const LiveSegment& live : segments) checker.checkSegment(live);
    for (const auto& document : memory) {
        checker.checkDocument(*file,
                              {.id = document->id,
                               .words = document->text->words(),
                               .place = document->place,
                               .keyHash = document->keyHash},
                              document->text->words());
    }
    checker.findHidden(file);
    return checker.takeFindings();
}

}  // namespace siftwell::fulltext
