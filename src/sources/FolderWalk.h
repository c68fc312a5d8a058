// FolderWalk: the files below a folder, one after another.
//
// Folders are entered in the order of their names; symbolic links to folders are not followed,
// those to files are. Memory grows with the depth and with the largest single folder, not with the
// number of files.
//
// Threads: one at a time.
// Errors: a folder that cannot be read, or a file that cannot be examined, is told to the handler
// and passed over.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Status.h"

namespace siftwell {

class FolderWalk {
public:
    using ErrorHandler = std::function<void(const Status&)>;

    FolderWalk(const std::string& folder, ErrorHandler onError);

    // The path of the next file, as the folder's path and the relative path; false at the end.
    bool next(std::string& path);

    // When that file was changed; of a link, the link itself. Asked once in the walk.
    Date modified() const { return m_modified; }

private:
    struct Level {
        std::string folder;
        std::vector<std::string> names;  // last first
    };

    void enter(const std::string& folder);

    ErrorHandler m_onError;
    std::vector<Level> m_levels;
    Date m_modified;
};

}  // namespace siftwell
