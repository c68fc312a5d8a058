// An input as the file of a database, without what SQLite leaves beside it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/TemporaryFolder.h"

namespace siftwell::fuzz {

class InputDatabase {
public:
    InputDatabase(const TemporaryFolder& folder, std::string_view bytes)
        : m_path(folder.write("input", bytes)) {}
    ~InputDatabase() {
        for (const char* beside : {"-wal", "-shm", "-journal"}) {
            std::error_code ignored;
            std::filesystem::remove(m_path + beside, ignored);
        }
    }
    InputDatabase(const InputDatabase&) = delete;
    InputDatabase& operator=(const InputDatabase&) = delete;

    const std::string& path() const { return m_path; }

private:
    const std::string m_path;
};

}  // namespace siftwell::fuzz
