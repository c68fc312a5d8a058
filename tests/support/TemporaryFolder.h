// TemporaryFolder: an empty folder that goes, with all it holds, at the end of a test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace siftwell {

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(std::string_view name) const { return m_path + "/" + std::string(name); }

    // Writes a file, making the folders on the way; its path.
    std::string write(std::string_view name, std::string_view bytes) const;
    std::string read(std::string_view name) const;  // "" when there is none
    bool has(std::string_view name) const { return std::filesystem::exists(file(name)); }

private:
    std::string m_path;
};

}  // namespace siftwell
