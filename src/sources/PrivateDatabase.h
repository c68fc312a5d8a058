// PrivateDatabase: a copy of another program's SQLite database, with what its writer has not merged
// into it yet. It goes when the object does.
//
// Threads: any. Errors: as PrivateCopy.h says.
#pragma once

#include <string>
#include <utility>

#include "base/Date.h"
#include "base/Status.h"

namespace siftwell {

class PrivateDatabase {
public:
    // As it was at one moment: copied again when it was written meanwhile, a few times; then Busy.
    static Result<PrivateDatabase> copyOf(const std::string& path);

    ~PrivateDatabase() { remove(); }
    PrivateDatabase(PrivateDatabase&& other) noexcept
        : m_path(std::exchange(other.m_path, std::string())) {}
    PrivateDatabase& operator=(PrivateDatabase&&) = delete;

    const std::string& path() const { return m_path; }

private:
    explicit PrivateDatabase(std::string path) : m_path(std::move(path)) {}

    Status copyCompanions(const std::string& from) const;
    void remove() const;

    std::string m_path;
};

// The latest date of the database's files: new rows stand beside it until they are merged, and its
// own date stands still meanwhile. The distant past when there is none.
Date changeDateOfDatabase(const std::string& path);

}  // namespace siftwell
