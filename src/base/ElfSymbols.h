// ElfSymbols: the names of functions in an ELF file of 64 bits and of this machine's byte order.
//
// The bytes are not trusted: they may be cut off, or say anything. Nothing is allocated, so that a
// signal handler may ask.
//
// Threads: any. Errors: none; what cannot be read has no names.
#pragma once

#include <elf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace siftwell {

class ElfSymbols {
public:
    struct Place {
        std::string_view name;      // of the function, as it stands in the file
        std::uint64_t address = 0;  // at which it begins
    };

    // Borrows the bytes of the whole file, as do all answers.
    explicit ElfSymbols(std::span<const std::byte> file);

    // What tells one build of the file from every other; empty when there is none.
    std::span<const std::byte> buildID() const { return m_buildID; }

    // Whether it is the very build with that ID. Without an ID nothing is.
    bool isBuild(std::span<const std::byte> buildID) const;

    // The function that an address of the file's own numbering lies in. Where no function says that
    // it is so long: the nearest below. Reads all symbols.
    std::optional<Place> symbolAt(std::uint64_t address) const;

    // The build ID among the notes of a segment that is aligned to `alignment` bytes.
    static std::span<const std::byte> buildIDIn(std::span<const std::byte> notes,
                                                std::uint64_t alignment);

private:
    void readSegments(const Elf64_Ehdr& header);
    void readSections(const Elf64_Ehdr& header);
    std::optional<std::string_view> nameAt(std::uint32_t offset) const;

    std::span<const std::byte> m_file;
    std::span<const std::byte> m_buildID;
    std::span<const std::byte> m_symbols;
    std::span<const std::byte> m_names;
};

}  // namespace siftwell
