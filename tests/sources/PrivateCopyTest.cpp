#include "sources/PrivateCopy.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace siftwell {
namespace {

namespace fs = std::filesystem;

class PrivateCopyTest : public testing::Test {
protected:
    PrivateCopyTest() {
        if (const char* folder = getenv("TMPDIR")) m_before = folder;
        setenv("TMPDIR", m_folder.path().c_str(), 1);
    }
    ~PrivateCopyTest() override {
        m_before.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", m_before.c_str(), 1);
    }

    static std::string processThatIsGone() {
        const pid_t process = fork();
        if (process == 0) _exit(0);
        EXPECT_EQ(waitpid(process, nullptr, 0), process);
        return std::to_string(process);
    }
    static void age(const std::string& path, std::chrono::minutes age = std::chrono::minutes(2)) {
        fs::last_write_time(path, fs::file_time_type::clock::now() - age);
    }

    TemporaryFolder m_folder;
    std::string m_before;
};

TEST_F(PrivateCopyTest, WhatProcessesThatAreGoneLeftIsRemoved) {
    const auto own = makePrivateFolder();
    ASSERT_TRUE(own) << own.status().message();
    const std::string place = fs::path(*own).parent_path().filename().string() + "/";
    const std::string gone = processThatIsGone();
    const std::string parent = std::to_string(getppid());
    const auto write = [&](const std::string& name) {
        const std::string path = m_folder.write(place + name, "bytes");
        age(path);
        return path;
    };
    const std::string precious = write("precious");
    const std::string copy = write(gone + ".17.places.sqlite");
    write(gone + ".abcdef/siftwell/copy");
    age(m_folder.file(place + gone + ".abcdef"));
    const std::string link = m_folder.file(place + gone + ".abcdef/link");
    fs::create_symlink(precious, link);
    age(m_folder.file(place + gone + ".abcdef"));
    const std::string young = m_folder.write(place + gone + ".18.History", "bytes");
    const std::vector<std::string> others = {write(parent + ".17.History"), write(gone),
                                             write(gone + "x.17"), write("-1.x"), write("0.x")};
    // The number of a process may be another's by now; a folder may be in use for long.
    const std::string oldCopy = write(parent + ".18.History");
    age(oldCopy, std::chrono::hours(25));
    age(*own, std::chrono::hours(25));

    ASSERT_TRUE(makePrivateFolder());
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_FALSE(fs::exists(oldCopy));
    EXPECT_FALSE(fs::exists(m_folder.file(place + gone + ".abcdef")));
    for (const std::string& kept : {*own, precious, young}) EXPECT_TRUE(fs::exists(kept)) << kept;
    for (const std::string& kept : others) EXPECT_TRUE(fs::exists(kept)) << kept;
}

}  // namespace
}  // namespace siftwell
