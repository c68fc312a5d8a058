// Samples: a folder of pages, a site and home folders that other people's programs wrote, with what
// must come of them; script/test --samples names it.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace siftwell {

class Samples {
public:
    // None when $SIFTWELL_SAMPLES names no folder; the test is then skipped.
    static std::optional<Samples> given() {
        const char* const folder = std::getenv("SIFTWELL_SAMPLES");
        if (folder == nullptr) return std::nullopt;
        return Samples(std::filesystem::canonical(folder).string());
    }

    std::string file(const std::string& name) const { return m_folder + "/" + name; }

    nlohmann::json json(const std::string& name) const {
        std::ifstream stream(file(name));
        return nlohmann::json::parse(stream);
    }

    // The home folder in an archive, unpacked below `parent` at the first call.
    std::string home(const std::string& archive, const std::string& parent) const {
        const std::string folder = parent + "/" + archive;
        if (std::filesystem::create_directories(folder)) {
            const std::string command = "tar -xJpf '" + file(archive) + "' -C '" + folder + "'";
            EXPECT_EQ(std::system(command.c_str()), 0);
        }
        return std::filesystem::canonical(folder).string();
    }

private:
    explicit Samples(std::string folder) : m_folder(std::move(folder)) {}

    std::string m_folder;
};

}  // namespace siftwell

// For SetUp(): the samples, or an end of the test.
#define SW_SAMPLES_OR_SKIP(samples)       \
    samples = siftwell::Samples::given(); \
    if (!samples) GTEST_SKIP() << "SIFTWELL_SAMPLES names no folder of samples"
