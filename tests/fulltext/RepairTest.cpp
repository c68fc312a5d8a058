// Index files that are damaged anywhere get back every document whose record is whole.

#include <gmock/gmock.h>

#include "CrashStorage.h"
#include "fulltext/DocumentRecord.h"
#include "fulltext/Index.h"
#include "fulltext/RecordScan.h"
#include "fulltext/Repair.h"
#include "fulltext/Search.h"
#include "support/LoggedLines.h"
#include "support/LongForm.h"

namespace siftwell::fulltext {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kPath = "/index";

class RepairTest : public testing::Test {
protected:
    static std::string recordOf(DocumentID id, const std::string& name, const std::string& text) {
        auto prepared = PreparedDocument::prepare({"http", name}, text);
        return std::string(prepared->record(id));
    }

    // Segments of several sizes, documents that were replaced and removed, some that stand in no
    // segment, and, when the writer is killed, some that were not flushed.
    void makeIndex(bool isKilled) {
        CrashStorage storage;
        const Index::Surroundings surroundings{.storage = &storage, .maxUnsegmentedText = 6 << 10};
        auto index = *Index::create(kPath, m_settings, surroundings);
        for (int i = 0; i < 240; ++i) {
            add(*index, pick(m_random, 150));
            if (i % 15 == 3) remove(*index);
            if (i % 20 == 10) EXPECT_TRUE(index->flush().isOk());
        }
        EXPECT_TRUE((isKilled ? index->flush() : index->close()).isOk());
        EXPECT_TRUE((isKilled ? index->sync() : Status()).isOk());
        m_next = index->nextDocument();
        const auto flushed = m_alive;
        for (int i = 0; isKilled && i < 5; ++i) {
            add(*index, pick(m_random, 150));
            EXPECT_TRUE(index->readableTextOf(index->nextDocument() - 1));  // written meanwhile
        }
        m_alive = flushed;
        m_bytes = storage.files().at(kPath);
        findPlaces();
    }

    void add(Index& index, int number) {
        const std::string name = "//" + std::to_string(number);
        const std::string text =
            randomText(m_random, 60) + "unique" + std::to_string(m_ever.size());
        const auto added = index.add({"http", name}, text, text);
        ASSERT_TRUE(added);
        if (added->replaced) m_alive.erase(*added->replaced);
        m_alive[added->id] = m_ever[added->id] = {name, text};
    }

    void remove(Index& index) {
        const auto victim =
            std::next(m_alive.begin(), pick(m_random, static_cast<int>(m_alive.size())));
        EXPECT_TRUE(index.remove(victim->first).isOk());
        m_alive.erase(victim);
    }

    void findPlaces() {
        const auto storage = holding(m_bytes);
        const auto file = *storage->open(kPath, Storage::Mode::ReadOnly);
        const auto note = [&](RecordKind kind, RecordPlace place) {
            if (kind != RecordKind::Document) return;
            m_places[readIdentity(*file, place.offset)->id] = place;
        };
        scanRecords(m_bytes,
                    {.whole = note, .damaged = [](RecordKind, std::uint64_t) {}, .pace = {}});
        ASSERT_EQ(m_places.size(), m_ever.size());
    }

    static std::unique_ptr<CrashStorage> holding(const std::string& bytes) {
        auto storage = std::make_unique<CrashStorage>();
        auto file = *storage->open(kPath, Storage::Mode::CreateNew);
        EXPECT_TRUE(file->writeAt(0, bytes).isOk());
        EXPECT_TRUE(file->sync().isOk());
        EXPECT_TRUE(storage->syncFolderOf(kPath).isOk());
        return storage;
    }

    // One of the ways in which files are damaged.
    std::string damaged(int way) {
        std::string bytes = m_bytes;
        const int size = static_cast<int>(bytes.size());
        if (way % 8 == 0) return bytes.substr(0, static_cast<std::size_t>(pick(m_random, size)));
        for (int wounds = pick(m_random, 3) + 1; wounds > 0; --wounds) {
            const int within = way % 8 < 3 ? 4096 : way % 8 == 3 ? 40 : size;
            const int at = way % 8 == 4 ? size - 1 - pick(m_random, 3000) : pick(m_random, within);
            const int length = way % 3 == 0 ? pick(m_random, 3000) + 1 : pick(m_random, 9) + 1;
            for (int i = at; i < std::min(at + length, size); ++i) {
                bytes[static_cast<std::size_t>(i)] =
                    way % 5 == 0 ? '\0' : static_cast<char>(pick(m_random, 256));
            }
        }
        return bytes;
    }

    bool isWhole(DocumentID id, const std::string& bytes) const {
        const RecordPlace place = m_places.at(id);
        return bytes.size() >= place.end() &&
               bytes.compare(place.offset, place.size, m_bytes, place.offset, place.size) == 0;
    }

    Result<RepairReport> repair(CrashStorage& storage, bool isHelped = true) {
        RepairHints hints{.settings = m_settings, .next = m_next};
        if (isHelped) hints.isAlive = [this](DocumentID id) { return m_alive.contains(id); };
        return repairIndex(kPath, hints, storage, {});
    }

    static std::unique_ptr<Index> open(CrashStorage& storage) {
        auto index = Index::open(kPath, "index", Index::Access::ReadWrite, {.storage = &storage});
        EXPECT_TRUE(index) << index.status().message();
        return index ? *std::move(index) : nullptr;
    }

    // Every whole document, and nothing that was not there, or, when somebody could tell, that was
    // removed.
    void expectAllBroughtBack(CrashStorage& storage, const std::string& bytes, bool isCertain) {
        const auto index = open(storage);
        ASSERT_NE(index, nullptr);
        EXPECT_TRUE(index->check().isOk()) << index->check().message();
        EXPECT_GE(index->nextDocument(), m_next);
        std::map<std::string, DocumentID> there;
        for (const DocumentID id : index->documentsBehind(0, 10000)) {
            there[m_ever[id].first] = id;
            ASSERT_TRUE((isCertain ? m_alive : m_ever).contains(id)) << id;
            EXPECT_EQ(index->keyOf(id)->name, m_ever[id].first);
            EXPECT_EQ(*index->readableTextOf(id), m_ever[id].second);
            const std::string unique = m_ever[id].second.substr(m_ever[id].second.rfind(' ') + 1);
            const auto hits = index->search(unique)->findMatches(9, std::chrono::seconds(9))->hits;
            EXPECT_THAT(hits, testing::ElementsAre(testing::Field(&Hit::document, id)));
        }
        for (const auto& [id, document] : m_alive) {
            if (!isWhole(id, bytes)) continue;
            ASSERT_TRUE(there.contains(document.first)) << id;
            EXPECT_GE(there[document.first], id) << "an older one";  // a newer one was not flushed
        }
    }

    LoggedLines m_log;
    const IndexSettings m_settings{.internalName = "index", .stopWords = {"the"}};
    Random m_random{7};
    std::map<DocumentID, std::pair<std::string, std::string>> m_ever;  // names and texts
    std::map<DocumentID, std::pair<std::string, std::string>> m_alive;
    std::map<DocumentID, RecordPlace> m_places;
    DocumentID m_next = 0;
    std::string m_bytes;
};

class RepairOfAnyDamageTest : public RepairTest, public testing::WithParamInterface<bool> {};

TEST_P(RepairOfAnyDamageTest, BringsBackEveryDocumentWhoseRecordIsWhole) {
    makeIndex(GetParam());
    int repaired = 0;
    const int rounds = shortOrLong(80, 3000);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const bool isHelped = round % 2 == 0;
        const std::string bytes = damaged(round / 2);
        const auto storage = holding(bytes);
        const auto found = findDamageIn(kPath, *storage);
        const auto report = repair(*storage, isHelped);
        if (!report && report.status().code() == StatusCode::UnknownVersion) {
            EXPECT_NE(bytes.substr(8, 4), m_bytes.substr(8, 4));
            EXPECT_EQ(storage->files().at(kPath), bytes);
            continue;
        }
        ASSERT_TRUE(report) << report.status().message();
        EXPECT_EQ(found->isEmpty(), report->findings.isEmpty());
        if (report->findings.isEmpty()) {
            EXPECT_EQ(storage->files(), (std::map<std::string, std::string>{{kPath, bytes}}));
        } else {
            ++repaired;
            EXPECT_EQ(storage->files().at(report->keptAs), bytes);
        }
        const auto before = storage->files();
        EXPECT_TRUE(repair(*storage, isHelped)->findings.isEmpty());
        EXPECT_EQ(storage->files(), before);
        expectAllBroughtBack(*storage, bytes, isHelped || report->uncertain == 0);
    }
    EXPECT_GT(repaired, rounds / 3);
}

INSTANTIATE_TEST_SUITE_P(ClosedAndKilled, RepairOfAnyDamageTest, testing::Bool());

TEST_F(RepairTest, EveryDamagedDocumentIsNamedAndOnlyThatOneIsLost) {
    makeIndex(false);
    std::string bytes = m_bytes;
    std::set<DocumentID> victims;
    for (const DocumentID id : {m_alive.begin()->first, std::next(m_alive.begin(), 30)->first,
                                std::prev(m_alive.end())->first}) {
        victims.insert(id);
        bytes[m_places[id].end() - 3] ^= 1;
    }
    const auto storage = holding(bytes);
    const auto report = repair(*storage);
    ASSERT_TRUE(report);
    std::set<DocumentID> named;
    for (const Finding& finding : report->findings.named()) {
        EXPECT_EQ(finding.part, DamagedPart::Document);
        EXPECT_EQ(finding.offset, m_places[finding.first].offset);
        EXPECT_THAT(sentenceFor(finding), HasSubstr("http:" + m_alive[finding.first].first));
        named.insert(finding.first);
    }
    EXPECT_EQ(named, victims);
    EXPECT_EQ(report->lost, victims.size());
    EXPECT_EQ(report->uncertain, 0U);
    EXPECT_EQ(report->documents, m_alive.size() - victims.size());
    expectAllBroughtBack(*storage, bytes, true);
}

TEST_F(RepairTest, ABusyOrNewerFileIsRefusedAndASecondDamagedOneKeptBesideTheFirst) {
    makeIndex(false);
    std::string newer = m_bytes;
    newer[8] = 99;
    auto storage = holding(newer);
    EXPECT_EQ(repair(*storage).status().code(), StatusCode::UnknownVersion);
    EXPECT_EQ(storage->files().at(kPath), newer);

    storage = holding(m_bytes);
    auto writer = open(*storage);
    EXPECT_EQ(repair(*storage).status().code(), StatusCode::Busy);
    writer.reset();

    EXPECT_THAT(repair(*storage)->keptAs, IsEmpty());
    for (const char* kept : {"/index.damaged", "/index.damaged2"}) {
        const auto file = *storage->open(kPath, Storage::Mode::ReadWrite);
        ASSERT_TRUE(file->writeAt(0, "????????").isOk());
        EXPECT_EQ(repair(*storage)->keptAs, kept);
        EXPECT_TRUE(open(*storage)->check().isOk());
    }
}

TEST_F(RepairTest, ARepairThatIsBrokenOffLeavesTheOldFileOrTheNewOne) {
    makeIndex(false);
    std::string bytes = m_bytes;
    bytes.replace(1024, 2048, 2048, '?');
    Random random(8);
    for (std::uint64_t last = 1;; ++last) {
        SCOPED_TRACE("ended at operation " + std::to_string(last));
        const auto storage = holding(bytes);
        storage->failFrom(storage->operations() + last);
        const bool isDone = repair(*storage).isOk();
        for (const auto& left : {storage->afterKill(), storage->afterPowerCut(random)}) {
            const auto files = left->files();
            ASSERT_TRUE(files.contains(kPath));
            if (files.at(kPath) != bytes) {
                EXPECT_EQ(files.at("/index.damaged"), bytes);
            } else {
                EXPECT_TRUE(repair(*left));
            }
            expectAllBroughtBack(*left, bytes, true);
        }
        if (isDone || HasFailure()) break;
    }
}

// Else an index whose newest roots are damaged would be what it was long ago, or empty.
TEST_F(RepairTest, AnOldDurableRootIsNotTakenForTheNewestOne) {
    makeIndex(false);
    std::string bytes = m_bytes;
    const auto storage = holding(bytes);
    const auto header = readHeader(**storage->open(kPath, Storage::Mode::ReadOnly));
    ASSERT_EQ(header->latest, header->durable);
    bytes[1024 + 512 * static_cast<std::size_t>(header->newestSlot[0]) + 3] ^= 1;
    bytes[header->latest->commit + 20] ^= 1;
    const auto hurt = holding(bytes);
    EXPECT_EQ(Index::open(kPath, "index", Index::Access::ReadOnly, {.storage = hurt.get()})
                  .status()
                  .code(),
              StatusCode::Damaged);
    EXPECT_EQ(repair(*hurt)->documents, m_alive.size());
}

// A page may hold whatever its maker likes, also what looks like a record.
TEST_F(RepairTest, WhatLooksLikeARecordInsideOfOneIsNotTakenForOne) {
    const std::string forged = recordOf(9, "//bank", "send your money");
    std::string noise;
    for (int i = 0; i < 2000; ++i) noise += static_cast<char>(pick(m_random, 256));
    std::string bytes;
    std::size_t place = std::string::npos;
    // Where it stands decides whether compression finds repetitions in it.
    for (std::size_t cut = 0; cut < 100 && place == std::string::npos; ++cut) {
        CrashStorage made;
        auto index = *Index::create(kPath, m_settings, {.storage = &made});
        const std::string text = noise.substr(cut) + forged + noise;
        ASSERT_TRUE(index->add({"http", "//one"}, text, text));
        ASSERT_TRUE(index->add({"http", "//two"}, "two", "two"));
        ASSERT_TRUE(index->close().isOk());
        bytes = made.files().at(kPath);
        place = bytes.find(forged);
    }
    ASSERT_NE(place, std::string::npos) << "it is stored as it stands";
    bytes[place - 100] ^= 1;
    bytes.replace(1024, 2048, 2048, '?');
    const auto storage = holding(bytes);
    m_next = 3;
    m_alive = {{1, {}}, {2, {}}, {9, {}}};
    const auto report = repair(*storage);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->documents, 1U);
    EXPECT_EQ(report->lost, 1U);
    EXPECT_EQ(open(*storage)->documentsBehind(0, 9), (std::vector<DocumentID>{2}));
}

// A segment of all numbers in between would take 25 GB.
TEST_F(RepairTest, ANumberFarFromAllOthersIsNotBelieved) {
    makeIndex(false);
    std::string bytes = m_bytes + recordOf(kLastDocumentID - 1, "//far", "far");
    bytes.replace(0, 4096, 4096, '?');
    const std::size_t commit = bytes.rfind("COMT");
    bytes[commit + 20] ^= 1;
    const auto storage = holding(bytes);
    m_next = 1;
    const auto report = repair(*storage, false);
    ASSERT_TRUE(report);
    const auto index = open(*storage);
    EXPECT_EQ(*index->documentWith({"http", "//far"}), std::nullopt);
    EXPECT_GE(index->documentCount(), m_alive.size());
    EXPECT_LT(index->nextDocument(), 1000U);
}

// Every 16 bytes claim to begin a record of all that follows.
TEST_F(RepairTest, AFileFullOfFalseBeginningsTakesNoQuadraticTime) {
    makeIndex(false);
    std::string bytes = m_bytes;
    constexpr std::size_t kSize = 4 << 20;
    for (std::size_t at = 0; at + 64 < kSize; at += 16) {
        const std::uint64_t claimed = (kSize - at) / 2 | 1;
        bytes += recordHeader(RecordKind::Document, "", claimed);
    }
    bytes.replace(1024, 2048, 2048, '?');
    const auto storage = holding(bytes);
    const auto report = repair(*storage);
    ASSERT_TRUE(report);
    EXPECT_TRUE(report->isLimited);
    expectAllBroughtBack(*storage, bytes, true);
}

}  // namespace
}  // namespace siftwell::fulltext
