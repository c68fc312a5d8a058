#include "fulltext/Survey.h"

#include <algorithm>

#include "base/Translate.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/RecordScan.h"
#include "fulltext/Recovery.h"

namespace siftwell::fulltext {

namespace {

constexpr std::uint64_t kMaxRemovedRecord = std::uint64_t{1} << 29;

// A damaged number that is so much higher than all others is not believed.
constexpr DocumentID kBelievableGap = 1 << 20;

struct ById {
    bool operator()(const FoundDocument& document, DocumentID id) const { return document.id < id; }
    bool operator()(DocumentID id, const FoundDocument& document) const { return id < document.id; }
    bool operator()(const CommittedDocument& document, DocumentID id) const {
        return document.id < id;
    }
};

// Of two of the same generation, the one in front is the one that was not overwritten.
void sortNewestFirst(std::vector<Root>& roots) {
    std::stable_sort(roots.begin(), roots.end(), [](const Root& a, const Root& b) {
        return a.generation != b.generation ? a.generation > b.generation : a.commit < b.commit;
    });
}

bool isBefore(const FoundDocument& a, const FoundDocument& b) {
    return a.id != b.id ? a.id < b.id : a.place.offset < b.place.offset;
}

}  // namespace

Result<Survey> Survey::make(std::shared_ptr<const StorageFile> file, const PaceCallback& pace) {
    Survey survey(std::move(file));
    const Result<std::uint64_t> size = survey.m_file->size();
    if (!size) return size.status();
    if (*size > 0) {
        auto mapping = survey.m_file->map(0, static_cast<std::size_t>(*size));
        if (!mapping) return mapping.status();
        survey.m_mapping = *std::move(mapping);
    }
    if (Status status = survey.readHeaderPage(); !status.isOk()) return status;
    survey.scan(pace);
    survey.findState();
    survey.readSettingsRecord();
    survey.noteRemovals();
    survey.findLost();
    return survey;
}

Status Survey::readHeaderPage() {
    std::string page(bytes().substr(0, kHeaderPageSize));
    page.resize(kHeaderPageSize);
    if (Status status = checkVersion(*m_file, page); !status.isOk()) return status;
    m_settingsPlace = kHeaderPageSize;
    if (const auto fixed = fixedHeader(page)) {
        m_identity = fixed->identity;
        m_settingsPlace = fixed->settings;
    }
    if (!readHeader(*m_file)) m_findings.add(DamagedPart::Header, 0, _("it is damaged"));
    for (const RootPair pair : {RootPair::Durable, RootPair::Latest}) {
        const RootSlots slots = rootSlots(page, pair);
        m_roots.insert(m_roots.end(), slots.roots.begin(), slots.roots.end());
        m_areRootsSuspicious = m_areRootsSuspicious || slots.broken > 0;
        m_hasEmptySlot = m_hasEmptySlot || (slots.roots.size() < 2 && slots.broken == 0);
    }
    if (const auto damaged = damagedRoots(page)) {
        m_findings.add(DamagedPart::Roots, damaged->offset, damaged->what);
    }
    sortNewestFirst(m_roots);
    return {};
}

void Survey::scan(const PaceCallback& pace) {
    const auto note = [this](RecordKind kind, RecordPlace place) {
        if (kind == RecordKind::Document) noteDocument(place);
        if (kind == RecordKind::Commit) noteCommit(place);
        if (kind == RecordKind::Live) m_lists.push_back(place.offset);
    };
    const auto noteDamaged = [this](RecordKind kind, std::uint64_t offset) {
        if (kind == RecordKind::Document) m_damagedDocuments.push_back(offset);
    };
    const ScanOutcome outcome =
        scanRecords(bytes(), {.whole = note, .damaged = noteDamaged, .pace = pace});
    m_isLimited = outcome.isLimited;
    m_lastGap = outcome.lastGap;
    std::sort(m_documents.begin(), m_documents.end(), isBefore);
}

void Survey::noteDocument(RecordPlace place) {
    const auto identity = readIdentity(*m_file, place.offset);
    if (!identity || identity->id < kFirstDocumentID || identity->id > kLastDocumentID) {
        m_damagedDocuments.push_back(place.offset);
    } else {
        m_documents.push_back(
            {.id = identity->id, .place = place, .keyHash = hashOfKey(identity->key)});
    }
}

void Survey::noteCommit(RecordPlace place) {
    const auto commit = readCommit(*m_file, place.offset);
    if (!commit) return;
    m_next = std::max(m_next, std::min(commit->nextDocument, kLastDocumentID + 1));
    m_commits.push_back({place.offset, commit->generation, commit->previous});
}

const Survey::FoundCommit* Survey::commitAt(std::uint64_t offset) const {
    const auto found = std::lower_bound(
        m_commits.begin(), m_commits.end(), offset,
        [](const FoundCommit& commit, std::uint64_t place) { return commit.offset < place; });
    return found == m_commits.end() || found->offset != offset ? nullptr : &*found;
}

// The commit of the newest root; or, when that cannot be read to its base or a newer root may be
// missing, the newest of all commits that can.
void Survey::findState() {
    std::vector<Root> candidates = m_roots;
    for (const FoundCommit& commit : m_commits) {
        candidates.push_back({commit.generation, commit.offset, UINT64_MAX});
    }
    sortNewestFirst(candidates);
    if (!candidates.empty()) m_highestGeneration = candidates.front().generation;
    const bool isNewerLost =
        m_hasEmptySlot && !m_roots.empty() && m_highestGeneration > m_roots.front().generation;
    m_areRootsSuspicious = m_areRootsSuspicious || isNewerLost;
    if (!m_areRootsSuspicious && !m_roots.empty() && readState(m_roots.front().commit)) {
        m_isNewest = true;
        m_end = m_roots.front().end;
        return;
    }
    const auto readable =
        std::find_if(candidates.begin(), candidates.end(),
                     [this](const Root& candidate) { return readState(candidate.commit); });
    if (readable != candidates.end()) {
        m_isNewest = readable->generation == m_highestGeneration && readable->commit > m_lastGap;
    } else if (m_brokenCommits.empty()) {
        m_findings.add(DamagedPart::Commit, 0, _("there is none"));
    }
}

// Commits of a chain that was found broken are not looked at again: all chains together are walked
// once.
bool Survey::readState(std::uint64_t commit) {
    std::vector<std::uint64_t> chain;
    std::uint64_t below = UINT64_MAX;
    for (std::uint64_t offset = commit; offset != 0;) {
        const FoundCommit* const found = commitAt(offset);
        const bool isKnown = m_brokenCommits.contains(offset);
        if (found == nullptr || isKnown || found->generation >= below) {
            if (!isKnown) {
                m_findings.add(DamagedPart::Commit, offset,
                               found == nullptr ? _("it is damaged") : _("it is not in order"));
            }
            m_brokenCommits.insert(chain.begin(), chain.end());
            if (found == nullptr) m_brokenCommits.insert(offset);
            return false;
        }
        chain.push_back(offset);
        below = found->generation;
        offset = found->previous;
    }
    return takeState(chain);
}

// The newest one comes first.
bool Survey::takeState(const std::vector<std::uint64_t>& chain) {
    std::vector<Commit> commits;
    for (const std::uint64_t offset : chain) {
        Result<Commit> commit = readCommit(*m_file, offset);
        if (!commit) return false;
        commits.push_back(*std::move(commit));
    }
    if (commits.empty()) return false;
    m_hasState = true;
    m_stateNext = std::min(commits.front().nextDocument, kLastDocumentID + 1);
    std::vector<CommittedDocument> added;
    for (auto commit = commits.rbegin(); commit != commits.rend(); ++commit) {
        added.insert(added.end(), commit->added.begin(), commit->added.end());
        m_removed.insert(m_removed.end(), commit->removed.begin(), commit->removed.end());
    }
    std::sort(m_removed.begin(), m_removed.end());
    std::stable_sort(added.begin(), added.end(),
                     [](const auto& a, const auto& b) { return a.id < b.id; });
    for (const CommittedDocument& document : added) {
        if (!std::binary_search(m_removed.begin(), m_removed.end(), document.id)) {
            m_added.push_back(document);
        }
    }
    readSegments(commits.back());
    return true;
}

void Survey::readSegments(const Commit& base) {
    for (const CommittedSegment& committed : base.segments) {
        // Whoever lists more in vain means to waste time.
        auto segment = m_findings.unnamed() == 0 ? Segment::open(m_file, committed.place)
                                                 : Result<std::shared_ptr<const Segment>>(Status());
        const DocumentID before = m_segments.empty() ? 0 : m_segments.back().last;
        const bool isInOrder = segment && (*segment)->firstDocument() > before &&
                               (*segment)->lastDocument() < m_stateNext;
        if (isInOrder) {
            readSegment(*segment, committed.removed);
        } else {
            m_segments.push_back({.first = before, .last = before});  // bounded below
            m_findings.add(DamagedPart::Segment, committed.place.offset,
                           segment ? _("it is not in order") : detailOf(segment.status(), *m_file));
        }
    }
    boundUnreadableSegments();
}

void Survey::readSegment(const std::shared_ptr<const Segment>& segment, std::uint64_t removals) {
    KnownSegment known{.first = segment->firstDocument(),
                       .last = segment->lastDocument(),
                       .segment = segment,
                       .removed = nullptr};
    if (const Status status = segment->check(); !status.isOk()) {
        m_findings.add({.part = DamagedPart::Segment,
                        .offset = segment->place().offset,
                        .first = known.first,
                        .last = known.last,
                        .key = std::nullopt,
                        .what = detailOf(status, *m_file)});
    }
    readRemovals(removals, known);
    m_segments.push_back(std::move(known));
}

void Survey::readRemovals(std::uint64_t offset, KnownSegment& known) {
    if (offset == 0) return;
    const auto payload = m_findings.unnamed() == 0
                             ? readRecord(*m_file, RecordKind::Live, offset, kMaxRemovedRecord)
                             : Result<std::string>(Status());
    auto removed = payload ? RemovedSet::parse(*payload) : std::nullopt;
    if (removed && removed->first() == known.first && removed->last() == known.last) {
        known.removed = std::make_shared<const RemovedSet>(*std::move(removed));
        return;
    }
    known.areRemovalsKnown = false;
    m_findings.add(DamagedPart::Removals, offset,
                   payload ? _("it is malformed") : detailOf(payload.status(), *m_file));
}

// They hold what lies between their neighbours; several side by side share it.
void Survey::boundUnreadableSegments() {
    DocumentID end = m_added.empty() ? m_stateNext : m_added.front().id;
    for (auto known = m_segments.rbegin(); known != m_segments.rend(); ++known) {
        if (known->segment == nullptr) {
            ++known->first;
            known->last = std::max(known->first, end) - 1;
        } else {
            end = known->first;
        }
    }
}

void Survey::readSettingsRecord() {
    auto settings = readSettings(*m_file, m_settingsPlace);
    if (settings) {
        m_settings = *std::move(settings);
    } else {
        m_findings.add(DamagedPart::Settings, m_settingsPlace,
                       detailOf(settings.status(), *m_file));
    }
}

// Removals that the file names anywhere. A list has a bit for each number in its range, so that all
// of them together have no more than the file.
void Survey::noteRemovals() {
    for (const FoundCommit& found : m_commits) {
        if (found.offset >= m_end) continue;
        const auto commit = readCommit(*m_file, found.offset);
        if (!commit) continue;
        for (const DocumentID id : commit->removed) noteRemoved(id);
    }
    for (const std::uint64_t offset : m_lists) {
        const auto payload = readRecord(*m_file, RecordKind::Live, offset, kMaxRemovedRecord);
        const auto removed = payload && offset < m_end ? RemovedSet::parse(*payload) : std::nullopt;
        if (!removed) continue;
        auto document =
            std::lower_bound(m_documents.begin(), m_documents.end(), removed->first(), ById());
        while (document != m_documents.end() && document->id <= removed->last()) {
            const DocumentID id = document->id;
            if (removed->contains(id)) noteRemoved(id);
            document = std::upper_bound(document, m_documents.end(), id, ById());
        }
    }
}

void Survey::noteRemoved(DocumentID id) {
    const auto [begin, end] = std::equal_range(m_documents.begin(), m_documents.end(), id, ById());
    if (begin != end && begin->isRemoved) return;  // all of a number are noted together
    for (auto document = begin; document != end; ++document) document->isRemoved = true;
}

DocumentID Survey::nextFrom(DocumentID next) const {
    next = std::max({next, m_next, m_stateNext});
    for (const std::uint64_t offset : m_damagedDocuments) {
        const auto identity = identityIfReadable(*m_file, offset);
        if (identity && identity->id >= next && identity->id - next < kBelievableGap) {
            next = identity->id + 1;
        }
    }
    return std::min(next, kLastDocumentID + 1);
}

bool Survey::isWhole(DocumentID id, std::uint64_t place) const {
    const FoundDocument wanted{.id = id, .place = {place, 0}};
    const auto found = std::lower_bound(m_documents.begin(), m_documents.end(), wanted, isBefore);
    return found != m_documents.end() && found->id == id &&
           (place == 0 || found->place.offset == place);
}

void Survey::addLost(std::uint64_t place, DocumentID id) {
    ++m_lost;
    m_findings.add({.part = DamagedPart::Document,
                    .offset = place,
                    .first = id,
                    .last = id,
                    .key = keyIfReadable(*m_file, place, id),
                    .what = _("its record is damaged")});
}

void Survey::findLost() {
    for (const KnownSegment& known : m_segments) {
        if (known.segment != nullptr) findLostOf(known);
    }
    for (const CommittedDocument& document : m_added) {
        if (!isWhole(document.id, document.place)) addLost(document.place, document.id);
    }
    for (const std::uint64_t offset : m_damagedDocuments) {
        const auto identity = identityIfReadable(*m_file, offset);
        const DocumentID id = identity ? identity->id : 0;
        const bool mayBeAlive =
            offset < m_end && (id == 0 ? !m_isNewest : fateInState(id, offset) == Fate::Unknown);
        if (mayBeAlive) addLost(offset, id);
    }
}

void Survey::findLostOf(const KnownSegment& known) {
    for (DocumentID id = known.first; id <= known.last; ++id) {
        const auto place = known.segment->placeOf(id);
        if (!place || fateIn(known, id, *place) != Fate::Alive) continue;
        if (!isWhole(id, *place)) addLost(*place, id);
    }
}

Fate Survey::fateOf(const FoundDocument& document) const {
    if (document.place.offset >= m_end) return Fate::Stale;
    const Fate fate = fateInState(document.id, document.place.offset);
    const bool isDoubtful = fate == Fate::Unknown || (fate == Fate::Alive && !m_isNewest);
    if (!isDoubtful) return fate;
    return document.isRemoved ? Fate::Removed : Fate::Unknown;
}

Fate Survey::fateInState(DocumentID id, std::uint64_t place) const {
    if (!m_hasState) return Fate::Unknown;
    if (id >= m_stateNext) return m_isNewest ? Fate::Stale : Fate::Unknown;
    const auto added = std::lower_bound(m_added.begin(), m_added.end(), id, ById());
    if (added != m_added.end() && added->id == id) {
        return added->place == place ? Fate::Alive : Fate::Stale;
    }
    if (std::binary_search(m_removed.begin(), m_removed.end(), id)) return Fate::Removed;
    const auto known = std::lower_bound(
        m_segments.begin(), m_segments.end(), id,
        [](const KnownSegment& each, DocumentID number) { return each.last < number; });
    const bool isInRange = known != m_segments.end() && id >= known->first;
    return isInRange ? fateIn(*known, id, place) : Fate::Removed;
}

Fate Survey::fateIn(const KnownSegment& known, DocumentID id, std::uint64_t place) const {
    if (known.segment == nullptr) return Fate::Unknown;
    if (std::binary_search(m_removed.begin(), m_removed.end(), id)) return Fate::Removed;
    if (known.removed != nullptr && known.removed->contains(id)) return Fate::Removed;
    const auto knownPlace = known.segment->placeOf(id);
    if (knownPlace && *knownPlace != 0 && *knownPlace != place) return Fate::Stale;
    const auto words = known.segment->wordsOf(id);
    if (!words) return Fate::Unknown;
    if (!words->has_value()) return Fate::Removed;
    return known.areRemovalsKnown ? Fate::Alive : Fate::Unknown;
}

}  // namespace siftwell::fulltext
