#include "sources/FolderWalk.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "sources/FileDates.h"

namespace siftwell {

namespace {

constexpr std::size_t kMaxDepth = 512;

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

Result<std::vector<std::string>> namesIn(const std::string& folder) {
    const std::unique_ptr<DIR, FolderCloser> opened(opendir(folder.c_str()));
    if (opened == nullptr) return Status::fromErrno(errno, "read the folder " + folder);
    std::vector<std::string> names;
    for (errno = 0; const dirent* entry = readdir(opened.get()); errno = 0) {
        std::string name = static_cast<const char*>(entry->d_name);
        if (name != "." && name != "..") names.push_back(std::move(name));
    }
    if (errno != 0) return Status::fromErrno(errno, "read the folder " + folder);
    std::sort(names.rbegin(), names.rend());
    return names;
}

enum class Kind { File, Folder, Other };

struct Entry {
    Kind kind = Kind::Other;
    Date modified;
};

// A file that is gone by now, or a link that leads nowhere, is nothing to speak of.
Result<Entry> entryAt(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) {
        if (errno == ENOENT) return Entry();
        return Status::fromErrno(errno, "examine the file " + path);
    }
    const Date modified = dateOf(info.st_mtim);
    if (S_ISDIR(info.st_mode)) return Entry{Kind::Folder, modified};
    if (S_ISLNK(info.st_mode) && stat(path.c_str(), &info) != 0) return Entry();
    return Entry{S_ISREG(info.st_mode) ? Kind::File : Kind::Other, modified};
}

}  // namespace

FolderWalk::FolderWalk(const std::string& folder, ErrorHandler onError)
    : m_onError(std::move(onError)) {
    enter(folder);
}

void FolderWalk::enter(const std::string& folder) {
    if (m_levels.size() >= kMaxDepth) {
        m_onError({StatusCode::TooLarge, "The folder " + folder + " is nested too deeply."});
        return;
    }
    auto names = namesIn(folder);
    if (names) {
        m_levels.push_back({folder, *std::move(names)});
    } else {
        m_onError(names.status());
    }
}

bool FolderWalk::next(std::string& path) {
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.names.empty()) {
            m_levels.pop_back();
            continue;
        }
        path = (level.folder == "/" ? "" : level.folder) + "/" + level.names.back();
        level.names.pop_back();
        const auto entry = entryAt(path);
        if (!entry) {
            m_onError(entry.status());
        } else if (entry->kind == Kind::Folder) {
            enter(path);
        } else if (entry->kind == Kind::File) {
            m_modified = entry->modified;
            return true;
        }
    }
    return false;
}

}  // namespace siftwell
