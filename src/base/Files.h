// Files: reading, private and atomic writing, and what there is to know about a path.
//
// Threads: any. Paths are byte strings; they need not be UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "base/Status.h"

namespace siftwell {

struct FileInfo {
    bool isFolder = false;
    bool isRegular = false;
    std::uint64_t bytes = 0;
    Date modified;
};

// Follows symbolic links; none when there is nothing or it cannot be examined.
std::optional<FileInfo> fileInfo(const std::string& path);
bool isFolder(const std::string& path);

// At most `maxBytes` from the start of the file.
Result<std::string> readFile(const std::string& path, std::size_t maxBytes);

// Writes all of it to an open file, which messages call `path`.
Status writeAll(int file, std::string_view bytes, const std::string& path);

// The file holds either its old or its new bytes, whenever the program or the machine stops; see
// FileReplacement.
Status writeFileAtomically(const std::string& name, std::string_view bytes);

// Makes the folder and the missing ones above it, each with mode 0700.
Status makePrivateFolder(const std::string& path);

// Whether files can be made in the folder and take up space: tried, not guessed.
Status probeFolderForWriting(const std::string& path);

Status syncFolder(const std::string& path);

std::string folderOf(const std::string& path);         // "/a/b" -> "/a", "b" -> "."
std::string lastPathComponent(std::string_view path);  // "/a/b/" -> "b", "/" -> "/"
// The letters behind the last dot of the last component, or none: "a.b/c.Tar.gz" -> "gz", ".x" ->
// "".
std::string pathExtension(std::string_view path);

}  // namespace siftwell
