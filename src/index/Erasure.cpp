#include "index/Erasure.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/Files.h"
#include "base/Translate.h"
#include "fulltext/ByteSearch.h"
#include "fulltext/DocumentRecord.h"
#include "index/IndexDump.h"
#include "index/IndexFiles.h"
#include "index/IndexNaming.h"

namespace siftwell {

namespace {

constexpr int kIndexSeverity = 9;

// Whether one of the patterns stands in the file; so it does, as far as anybody knows, in one that
// cannot be read.
bool holdsAny(const std::string& path, const std::vector<std::string>& patterns) {
    const auto file = fulltext::Storage::system().open(path, fulltext::Storage::Mode::ReadOnly);
    if (!file) return file.status().code() != StatusCode::NotFound;
    const auto size = (*file)->size();
    if (size && *size == 0) return false;
    const auto mapping = size ? (*file)->map(0, static_cast<std::size_t>(*size)) : size.status();
    if (!mapping) return true;
    return std::any_of(patterns.begin(), patterns.end(), [&mapping](const std::string& pattern) {
        return fulltext::findBytes((*mapping)->bytes(), pattern, 0) != std::string_view::npos;
    });
}

// What SQLite keeps beside a file goes by that file's name.
std::string_view withoutSqliteEnding(std::string_view name) {
    for (const std::string_view ending : {"-wal", "-shm", "-journal"}) {
        if (name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    }
    return name;
}

// What repairs and killed programs leave, and nobody needs to go on.
bool isLeftOver(const std::string& path) {
    const std::string name = lastPathComponent(path);
    const std::string extension = pathExtension(withoutSqliteEnding(name));
    if (name.starts_with('.') && extension == "new") return true;
    return extension != "data" && isExtensionBesideIndexes(extension);
}

Status deleteFile(const std::string& path) {
    if (unlink(path.c_str()) == 0 || errno == ENOENT) return {};
    return Status::fromErrno(errno, "delete the file " + path);
}

}  // namespace

// What there is to look for, and where it was found.
struct Erasure::Traces {
    std::vector<std::string> addresses;
    std::vector<std::string> patterns;  // the addresses, and keys as index files hold them
    std::set<SKIndex> indexes;

    bool isBeside(const std::string& path) const {
        return std::any_of(indexes.begin(), indexes.end(), [&path](const SKIndex& index) {
            return path.starts_with(index->path + '.');
        });
    }
};

std::vector<Url> Erasure::erase(const std::vector<Url>& urls, const std::string& folder) const {
    const SharedHold hold(m_parts.locks.indexGate());
    Traces traces;
    std::vector<Url> erased;
    for (const Url& url : urls) {
        const auto document = skDocumentForURL(url, m_parts.notifier);
        if (document && removeEverywhere(url, *document, traces)) erased.push_back(url);
    }
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        m_parts.locks.yieldForPriorityThread();
        rewrite(index, traces);
    }
    eraseBeside(folder, traces);
    return erased;
}

bool Erasure::removeEverywhere(const Url& url, const SKDocument& document, Traces& traces) const {
    traces.addresses.push_back(url.absoluteString());
    traces.patterns.push_back(url.absoluteString());
    traces.patterns.push_back(escapedInDump(url.absoluteString()));
    traces.patterns.push_back(fulltext::bytesOfKey(document));
    bool isAnyRemoved = false;
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        const auto number = index->index->documentWith(document);
        if (!number) report(number.status());
        if (!number || !*number) continue;
        traces.indexes.insert(index);
        isAnyRemoved |= m_parts.store.removeNumber(**number, index, url.absoluteString(), true);
    }
    return isAnyRemoved;
}

// An index that does not know a page any more may have its bytes still.
void Erasure::rewrite(const SKIndex& index, const Traces& traces) const {
    report(index->eraseRemoved(false));
    const bool isTraced = traces.indexes.contains(index) ||
                          holdsAny(index->path, traces.patterns) ||
                          holdsAny(index->properties->path(), traces.patterns);
    if (isTraced) report(index->eraseRemoved(true));
}

void Erasure::eraseBeside(const std::string& folder, const Traces& traces) const {
    std::set<std::string> inUse;
    const auto indexes = m_parts.indexes.list();
    for (const SKIndex& index : *indexes) {
        inUse.insert(index->path);
        for (const std::string& path : PropertyRecordFile::pathsOf(index->properties->path())) {
            inUse.insert(path);
        }
    }
    for (const std::string& path : regularFilesBelow(folder)) {
        if (inUse.contains(path)) continue;
        if (isLeftOver(path) && traces.isBeside(path)) {
            report(deleteFile(path));
        } else if (holdsAny(path, traces.patterns)) {
            eraseFrom(path, traces);
        }
    }
}

void Erasure::eraseFrom(const std::string& path, const Traces& traces) const {
    if (isLeftOver(path)) return report(deleteFile(path));
    if (pathExtension(path) == "html") return report(removeFromDump(path, traces.addresses));
    report({StatusCode::Damaged,
            filledIn(_("The file %@ holds the address of a page that was removed and cannot be "
                       "written. If nothing needs it, please delete it."),
                     path)});
}

void Erasure::report(const Status& status) const {
    if (!status.isOk()) m_parts.notifier.reportError(status.message(), kIndexSeverity, "", "");
}

}  // namespace siftwell
