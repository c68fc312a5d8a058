#include "base/ElfSymbols.h"

#include <gmock/gmock.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "base/Files.h"

extern "C" __attribute__((noinline)) int functionOfTheTestProgram(int value) { return value * 3; }

namespace siftwell {
namespace {

using testing::Optional;

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

class ElfSymbolsTest : public testing::Test {
protected:
    static std::string thisProgram() {
        return readFile("/proc/self/exe", std::size_t{1} << 28).value();
    }

    // In the numbering of the file.
    static std::uint64_t addressOfFunction() {
        std::uint64_t base = 0;
        dl_iterate_phdr(
            [](dl_phdr_info* info, std::size_t, void* result) {
                *static_cast<std::uint64_t*>(result) = info->dlpi_addr;
                return 1;  // the program comes first
            },
            &base);
        return reinterpret_cast<std::uint64_t>(&functionOfTheTestProgram) - base;
    }

    static std::string nameAt(std::string_view file, std::uint64_t address) {
        const std::string copy(file);
        const ElfSymbols symbols(bytesOf(copy));
        const auto place = symbols.symbolAt(address);
        return place ? std::string(place->name) : "";
    }
};

TEST_F(ElfSymbolsTest, FunctionIsFoundByAnyAddressWithinIt) {
    const std::string file = thisProgram();
    const std::uint64_t address = addressOfFunction();
    const ElfSymbols symbols(bytesOf(file));
    for (const std::uint64_t offset : {0U, 1U, 2U}) {
        const auto place = symbols.symbolAt(address + offset);
        ASSERT_TRUE(place.has_value());
        EXPECT_EQ(place->name, "functionOfTheTestProgram");
        EXPECT_EQ(place->address, address);
    }
    EXPECT_FALSE(symbols.symbolAt(0).has_value());
}

TEST_F(ElfSymbolsTest, DamagedFilesHaveNoNamesAndDoNoHarm) {
    const std::string file = thisProgram();
    const std::uint64_t address = addressOfFunction();
    EXPECT_EQ(nameAt("", address), "");
    EXPECT_EQ(nameAt("no program at all", address), "");
    EXPECT_EQ(nameAt(std::string_view(file).substr(0, file.size() / 2), address), "");
    for (const std::size_t length : {1U, 63U, 64U, 65U, 4096U}) {
        EXPECT_EQ(nameAt(std::string_view(file).substr(0, length), address), "");
    }
    // The heads of the file, of its segments and of its sections, where all lengths stand.
    Elf64_Ehdr header;
    std::memcpy(&header, file.data(), sizeof(header));
    std::mt19937 random(1);  // NOLINT(*-msc51-cpp): the same every time
    std::string damaged = file;
    for (int time = 0; time < 200; ++time) {
        const std::size_t at =
            time % 2 == 0 ? header.e_shoff + random() % (header.e_shnum * 64U) : random() % 1024;
        damaged[at] = static_cast<char>(random());
        const ElfSymbols symbols(bytesOf(damaged));
        const auto place = symbols.symbolAt(address);
        if (place) EXPECT_LE(place->name.size(), damaged.size());
        if (time % 20 == 19) damaged = file;
    }
}

TEST_F(ElfSymbolsTest, CopyWithAnotherBuildIDIsAnotherBuild) {
    const std::string file = thisProgram();
    const ElfSymbols symbols(bytesOf(file));
    const auto id = symbols.buildID();
    if (id.empty()) GTEST_SKIP() << "the linker gives none";
    std::string copy = file;
    EXPECT_TRUE(ElfSymbols(bytesOf(copy)).isBuild(id));
    copy[static_cast<std::size_t>(id.data() - bytesOf(file).data())] ^= 1;
    EXPECT_FALSE(ElfSymbols(bytesOf(copy)).isBuild(id));
    EXPECT_FALSE(ElfSymbols(bytesOf("no program")).isBuild({}));
}

TEST_F(ElfSymbolsTest, BuildIDIsFoundAmongOtherNotesOfWhateverLength) {
    // Owner length, contents length, kind; both padded to four bytes.
    const std::string other("\5\0\0\0\2\0\0\0\1\0\0\0ABCD\0\0\0\0xy\0\0", 24);
    const std::string ours("\4\0\0\0\3\0\0\0\3\0\0\0GNU\0\1\2\3\0", 20);
    const auto idIn = [](const std::string& notes) {
        const auto id = ElfSymbols::buildIDIn(bytesOf(notes), 4);
        return std::string(reinterpret_cast<const char*>(id.data()), id.size());
    };
    EXPECT_EQ(idIn(other + ours), "\1\2\3");
    EXPECT_EQ(idIn(other), "");
    EXPECT_EQ(idIn((other + ours).substr(0, 40)), "");
    EXPECT_EQ(idIn(std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\3\0\0\0", 12) + ours), "");
}

}  // namespace
}  // namespace siftwell
