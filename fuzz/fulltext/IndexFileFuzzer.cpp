// Any bytes as an index file: opened, asked everything, written to, compacted and repaired. A file
// that calls itself whole holds what it says, nothing of it is lost when it is compacted, and a
// repair leaves it alone.
//
// Every checksum is 0 here, or no change of a byte would ever be seen by the code behind them. Who
// makes such a file on purpose can compute checksums too.
//
// An input is the places that the header page names, followed by the file behind that page. A
// single byte stands for an index that is made here.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Require.h"
#include "base/Log.h"
#include "fulltext/Bytes.h"
#include "fulltext/Checksum.h"
#include "fulltext/CrashStorage.h"
#include "fulltext/Header.h"
#include "fulltext/Index.h"
#include "fulltext/Repair.h"
#include "fulltext/Search.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace siftwell::fulltext {

// In place of the library's.
std::uint32_t crc32c(std::string_view, std::uint32_t) { return 0; }

}  // namespace siftwell::fulltext

namespace {

using namespace siftwell;
using namespace siftwell::fulltext;
using fuzz::require;

const std::string kPath = "index";
constexpr std::size_t kMaxDocuments = 1000;
constexpr const char* kQueries[] = {"kaka",       "common",        "*a*",           "k* | *o",
                                    "mika !kaka", "\"kaka kalo\"", "\"kaka\" *ka*", "*"};

using Texts = std::map<std::string, std::string>;  // by name

class IndexFile {
public:
    static std::unique_ptr<IndexFile> made(unsigned kind);
    static std::unique_ptr<IndexFile> fromInput(std::string_view input);
    std::string asInput();

    Result<std::unique_ptr<Index>> open(Index::Access access) {
        return Index::open(kPath, std::nullopt, access, surroundings());
    }

    Result<RepairReport> repair() { return repairIndex(kPath, {}, m_storage, {}); }

private:
    Index::Surroundings surroundings() { return {.storage = &m_storage}; }
    void addDocuments(Index& index, unsigned from, unsigned to);

    CrashStorage m_storage;
};

void IndexFile::addDocuments(Index& index, unsigned from, unsigned to) {
    constexpr const char* kWords[] = {"kaka", "kalo", "mika", "ankaro", "oko", "tara"};
    for (unsigned i = from; i < to; ++i) {
        const std::string text = std::string("common ") + kWords[i % 6] + ' ' + kWords[i / 2 % 6];
        require(index.add({"http", std::to_string(i)}, text, text).isOk());
    }
}

// Two segments with a document removed from one, and two documents in no segment; or a segment so
// large that its lists have blocks.
std::unique_ptr<IndexFile> IndexFile::made(unsigned kind) {
    constexpr unsigned kBlock = 128;
    auto file = std::make_unique<IndexFile>();
    auto index =
        Index::create(kPath, {.internalName = "x", .stopWords = {"the"}}, file->surroundings());
    require(index.isOk());
    file->addDocuments(**index, 0, kind % 2 == 0 ? 6 : kBlock + 2);
    require((*index)->close().isOk());
    if (kind % 2 != 0) return file;
    index = Index::open(kPath, "x", Index::Access::ReadWrite, file->surroundings());
    require(index.isOk());
    file->addDocuments(**index, 6, 8);
    require((*index)->remove(2).isOk() && (*index)->remove(7).isOk());
    file->addDocuments(**index, 8, 10);
    require((*index)->flush().isOk());
    return file;
}

std::string IndexFile::asInput() {
    const auto file = m_storage.open(kPath, Storage::Mode::ReadOnly);
    const auto header = readHeader(**file);
    require(header.isOk());
    std::string input;
    appendNumber(input, header->settings);
    for (const auto& root : {header->durable, header->latest}) {
        appendNumber(input, root.value_or(Root()).generation);
        appendNumber(input, root.value_or(Root()).commit);
        appendNumber(input, root.value_or(Root()).end);
    }
    return input + *(*file)->readAt(kHeaderPageSize, *(*file)->size() - kHeaderPageSize);
}

std::unique_ptr<IndexFile> IndexFile::fromInput(std::string_view input) {
    auto result = std::make_unique<IndexFile>();
    auto file = result->m_storage.open(kPath, Storage::Mode::CreateNew);
    ByteReader reader(input);
    const auto readRoot = [&] {
        Root root;
        root.generation = reader.number<std::uint64_t>();
        root.commit = reader.number<std::uint64_t>();
        root.end = reader.number<std::uint64_t>();
        return root;
    };
    static_cast<void>((*file)->writeAt(0, headerPage({}, reader.number<std::uint64_t>())));
    RootWriter roots;
    static_cast<void>(roots.write(**file, RootPair::Durable, readRoot()));
    static_cast<void>(roots.write(**file, RootPair::Latest, readRoot()));
    static_cast<void>((*file)->writeAt(kHeaderPageSize, reader.rest()));
    return result;
}

void checkHits(const Index& index, const std::vector<Hit>& hits) {
    std::set<DocumentID> documents;
    for (const Hit& hit : hits) {
        require(documents.insert(hit.document).second);
        require(hit.document >= kFirstDocumentID && hit.document < index.nextDocument());
    }
    require(std::is_sorted(hits.begin(), hits.end(), ranksBefore));
}

void searchFor(const Index& index, std::string_view query) {
    const auto search = index.search(query);
    for (const std::size_t count : {std::size_t{3}, kMaxDocuments}) {
        const auto matches = search->findMatches(count, std::chrono::seconds(1));
        if (!matches) return;
        require(matches->hits.size() <= count);
        checkHits(index, matches->hits);
    }
}

// What can be read of every document.
Texts readDocuments(const Index& index) {
    Texts texts;
    for (const DocumentID document : index.documentsBehind(0, kMaxDocuments)) {
        require(index.stateOf(document) != DocumentState::NotIndexed);
        const auto key = index.keyOf(document);
        const auto text = index.readableTextOf(document);
        static_cast<void>(index.termsOf(document));
        if (!key || !text) continue;
        static_cast<void>(index.documentWith(*key));
        texts[key->scheme + ':' + key->name] = *text;
    }
    return texts;
}

// All texts, if the file calls itself whole.
std::optional<Texts> look(const Index& index) {
    for (const char* query : kQueries) searchFor(index, query);
    Texts texts = readDocuments(index);
    if (!index.check().isOk()) return std::nullopt;
    require(index.documentsBehind(0, kMaxDocuments).size() ==
            std::min<std::uint64_t>(index.documentCount(), kMaxDocuments));
    return texts;
}

void change(Index& index, const std::optional<Texts>& whole) {
    const DocumentKey key{"http", "new"};
    const auto added = index.add(key, "kaka unheard", "kaka unheard");
    const Status flushed = added ? index.flush() : added.status();
    const Status compacted = index.compact();
    const auto texts = look(index);
    if (!whole) return;

    require(flushed.isOk() && compacted.isOk());
    const auto found = index.documentWith(key);
    require(found && *found == added->id);
    Texts expected = *whole;
    expected["http:new"] = "kaka unheard";
    require(texts == expected);
}

// All texts, if the file calls itself whole.
std::optional<Texts> run(IndexFile& file) {
    std::optional<Texts> texts;
    if (const auto index = file.open(Index::Access::ReadOnly)) texts = look(**index);
    if (const auto index = file.open(Index::Access::ReadWrite)) change(**index, texts);
    return texts;
}

void repair(IndexFile& file, const std::optional<Texts>& whole) {
    const auto report = file.repair();
    require(!whole || (report && report->findings.isEmpty()));
    if (!report) return;
    const auto index = file.open(Index::Access::ReadOnly);
    require(index.isOk());
    const auto texts = look(**index);
    require(texts && (!whole || *texts == *whole));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isQuiet = (setLogSink([](std::string_view) {}), true);
    static_cast<void>(isQuiet);
    const std::string input = size > 1    ? std::string(fuzz::asText(data, size))
                              : size == 1 ? IndexFile::made(data[0])->asInput()
                                          : "";
    const auto texts = run(*IndexFile::fromInput(input));
    repair(*IndexFile::fromInput(input), texts);
    return 0;
}

#ifdef SIFTWELL_LIBFUZZER
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    if (size <= 1) {
        const std::string input = IndexFile::made(seed)->asInput();
        if (input.size() > maxSize) return size;
        std::memcpy(data, input.data(), input.size());
        size = input.size();
    }
    return LLVMFuzzerMutate(data, size, maxSize);
}
#endif
