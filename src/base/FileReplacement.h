// FileReplacement: a file that is written piece by piece and gets its name when it is whole.
//
// The pieces go to a new file (mode 0600) beside the one of that name, which is synced, renamed
// over it, and the folder synced: whenever the program or the machine stops, the name stands for
// what it stood for before, or for the whole. A symbolic link is followed. One writer at a time.
//
// Threads: one. Errors: the first one is kept and answered by finish().
#pragma once

#include <string>
#include <string_view>

#include "base/FileDescriptor.h"
#include "base/Status.h"

namespace siftwell {

class FileReplacement {
public:
    explicit FileReplacement(const std::string& path);
    ~FileReplacement();  // without finish() nothing is left of it

    void append(std::string_view bytes);
    const Status& status() const { return m_status; }
    Status finish();

private:
    void writeOut();

    const std::string m_path;
    const std::string m_temporary;
    FileDescriptor m_file;
    std::string m_waiting;
    Status m_status;
};

}  // namespace siftwell
