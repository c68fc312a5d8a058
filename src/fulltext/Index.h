// Index: one full-text index in one file.
//
// Documents are added with their text, found by words, and removed. A search sees every document
// that was added before it began; another process that opens the file sees what was flushed.
//
// Threads: any; several may add at once while others search. Searches keep the parts of the index
// alive that they look at.
// Errors: an index that can no longer be written keeps its first error, and every later write fails
// with it; what was flushed can be searched still. An index that goes without close() loses what
// was not flushed, nothing else.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "fulltext/Findings.h"
#include "fulltext/Header.h"
#include "fulltext/Maintenance.h"
#include "fulltext/Storage.h"
#include "fulltext/Types.h"
#include "fulltext/WriteBudget.h"

namespace siftwell::fulltext {

struct IndexCore;
struct Snapshot;
class Search;

class Index {
public:
    enum class Access {
        ReadWrite,  // excludes every other writer, in this process and others
        ReadOnly,   // changes nothing, not even what a killed writer left behind
    };

    // What an index shares with others of its process. All of it outlives the index.
    struct Surroundings {
        Storage* storage = &Storage::system();
        // Null: merges are done by whoever flushes, and close() alone syncs.
        Maintenance* maintenance = nullptr;
        WriteBudget* budget = nullptr;  // null: no limit
        PaceCallback pace;              // called between the steps of long work
        // Bytes of text that a flush leaves outside of segments while documents come; a small part
        // of it once none came since the flush before, or when the budget is exceeded. They are
        // read back at opening.
        std::size_t maxUnsegmentedText = 6 << 20;
    };

    // Makes the file; Exists when there is one. The index is durable when this returns.
    static Result<std::unique_ptr<Index>> create(const std::string& path,
                                                 const IndexSettings& settings,
                                                 const Surroundings& surroundings);

    // NameMismatch when a name is given and the index bears another or none. Busy when there is
    // another writer. UnknownVersion for a file of a newer program, which is left untouched.
    static Result<std::unique_ptr<Index>> open(const std::string& path,
                                               const std::optional<std::string>& internalName,
                                               Access access, const Surroundings& surroundings);

    ~Index();

    // Flushes, leaves no document outside of segments, makes everything durable, and lets another
    // writer in, whoever still looks at the index. Nothing can be written any more; a second call
    // does nothing.
    Status close();

    // To be called before the file is deleted: a compaction that is under way does not bring it
    // back. Waits for nobody.
    void abandon();

    const IndexSettings& settings() const;
    const FileIdentity& identity() const;

    std::uint64_t documentCount() const;
    DocumentID nextDocument() const;  // the number that the next added document gets

    // The document with the key, or none.
    Result<std::optional<DocumentID>> documentWith(const DocumentKey& key) const;
    DocumentState stateOf(DocumentID document) const;
    Result<DocumentKey> keyOf(DocumentID document) const;
    Result<std::string> readableTextOf(DocumentID document) const;
    Result<std::vector<std::string>> termsOf(DocumentID document) const;  // each once, sorted
    // Occurrences of all its terms. Cheap: the text is not looked at.
    Result<std::uint32_t> wordsOf(DocumentID document) const;

    // Up to `max` documents behind `document`, in rising order; 0 begins at the front.
    std::vector<DocumentID> documentsBehind(DocumentID document, std::size_t max) const;

    // Adds a document, or gives one a new text and a new number. `text` is indexed; the index keeps
    // `readableText`, whose words are the same.
    Result<AddedDocument> add(const DocumentKey& key, std::string_view text,
                              std::string_view readableText);

    // NotFound when there is no such document.
    Status remove(DocumentID document);

    // Other processes see what was added and removed from now on. Durable within a second when the
    // index has its maintenance.
    Status flush();
    Status sync();                            // makes what was flushed durable now
    std::uint64_t generation() const;         // of the newest commit; rises with each
    std::uint64_t durableGeneration() const;  // of the newest commit that was synced

    // Writes the file anew without what is dead in it. Nothing of a removed document is left in the
    // file then.
    Status compact();

    // Never fails: a query without any term finds nothing.
    std::unique_ptr<Search> search(std::string_view query) const;

    // Reads the whole file and compares it with itself: the first damage, or all of it.
    Status check() const;
    Findings findDamage() const;

    std::uint64_t fileBytes() const;
    std::string path() const;

private:
    Index(std::shared_ptr<IndexCore> core, const Surroundings& surroundings);

    static Result<std::unique_ptr<Index>> openFile(std::unique_ptr<StorageFile> file,
                                                   const std::optional<std::string>& internalName,
                                                   Access access, const Surroundings& surroundings);
    Result<std::uint64_t> placeOf(DocumentID document) const;
    void relieveBudget();
    void maintain();

    std::shared_ptr<IndexCore> m_core;
    Surroundings m_surroundings;
};

}  // namespace siftwell::fulltext
