#include "base/ElfSymbols.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace siftwell {

namespace {

using Bytes = std::span<const std::byte>;

constexpr unsigned char kByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

// Empty when they do not lie within the bytes.
Bytes part(Bytes bytes, std::uint64_t offset, std::uint64_t length) {
    if (offset > bytes.size() || length > bytes.size() - offset) return {};
    return bytes.subspan(offset, length);
}

// The record with that number of a table; none behind its end.
template <typename Record>
std::optional<Record> recordAt(Bytes table, std::uint64_t number) {
    if (number >= table.size() / sizeof(Record)) return std::nullopt;
    Record record;
    std::memcpy(&record, table.data() + number * sizeof(Record), sizeof(Record));
    return record;
}

bool isReadable(const Elf64_Ehdr& header) {
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_ident[EI_DATA] == kByteOrder;
}

bool isCode(const Elf64_Sym& symbol) {
    const int type = ELF64_ST_TYPE(symbol.st_info);
    return (type == STT_FUNC || type == STT_NOTYPE) && symbol.st_name != 0 &&
           symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS;
}

// Only functions say how long they are; what is no function merely marks a place.
bool covers(const Elf64_Sym& symbol, std::uint64_t address) {
    return ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && address - symbol.st_value < symbol.st_size;
}

}  // namespace

ElfSymbols::ElfSymbols(Bytes file) : m_file(file) {
    const auto header = recordAt<Elf64_Ehdr>(file, 0);
    if (!header || !isReadable(*header)) return;
    readSegments(*header);
    readSections(*header);
}

void ElfSymbols::readSegments(const Elf64_Ehdr& header) {
    if (header.e_phentsize != sizeof(Elf64_Phdr)) return;
    const Bytes table =
        part(m_file, header.e_phoff, std::uint64_t{header.e_phnum} * sizeof(Elf64_Phdr));
    for (std::uint64_t number = 0; m_buildID.empty(); ++number) {
        const auto segment = recordAt<Elf64_Phdr>(table, number);
        if (!segment) return;
        if (segment->p_type != PT_NOTE) continue;
        m_buildID = buildIDIn(part(m_file, segment->p_offset, segment->p_filesz), segment->p_align);
    }
}

// The full table is the better one; a stripped file has only that of the dynamic linker.
void ElfSymbols::readSections(const Elf64_Ehdr& header) {
    if (header.e_shentsize != sizeof(Elf64_Shdr)) return;
    const Bytes table =
        part(m_file, header.e_shoff, std::uint64_t{header.e_shnum} * sizeof(Elf64_Shdr));
    for (std::uint64_t number = 0;; ++number) {
        const auto section = recordAt<Elf64_Shdr>(table, number);
        if (!section) return;
        if (section->sh_type != SHT_SYMTAB && section->sh_type != SHT_DYNSYM) continue;
        const auto names = recordAt<Elf64_Shdr>(table, section->sh_link);
        if (!names || names->sh_type != SHT_STRTAB) continue;
        m_symbols = part(m_file, section->sh_offset, section->sh_size);
        m_names = part(m_file, names->sh_offset, names->sh_size);
        if (section->sh_type == SHT_SYMTAB) return;
    }
}

bool ElfSymbols::isBuild(Bytes buildID) const {
    return !buildID.empty() && std::ranges::equal(buildID, m_buildID);
}

std::optional<ElfSymbols::Place> ElfSymbols::symbolAt(std::uint64_t address) const {
    std::optional<Elf64_Sym> best;
    for (std::uint64_t number = 0;; ++number) {
        const auto symbol = recordAt<Elf64_Sym>(m_symbols, number);
        if (!symbol) break;
        if (!isCode(*symbol) || symbol->st_value > address) continue;
        const bool isBetter = !best || (covers(*symbol, address) == covers(*best, address)
                                            ? symbol->st_value > best->st_value
                                            : covers(*symbol, address));
        if (isBetter) best = symbol;
    }
    if (!best) return std::nullopt;
    const auto name = nameAt(best->st_name);
    if (!name) return std::nullopt;
    return Place{*name, best->st_value};
}

std::optional<std::string_view> ElfSymbols::nameAt(std::uint32_t offset) const {
    if (offset >= m_names.size()) return std::nullopt;
    const Bytes rest = m_names.subspan(offset);
    const void* const end = std::memchr(rest.data(), 0, rest.size());
    if (end == nullptr) return std::nullopt;
    const auto length = static_cast<const std::byte*>(end) - rest.data();
    return std::string_view(reinterpret_cast<const char*>(rest.data()),
                            static_cast<std::size_t>(length));
}

Bytes ElfSymbols::buildIDIn(Bytes notes, std::uint64_t alignment) {
    constexpr char kOwner[] = "GNU";
    const std::uint64_t step = alignment == 8 ? 8 : 4;
    const auto padded = [step](std::uint64_t size) { return (size + step - 1) & ~(step - 1); };
    while (const auto note = recordAt<Elf64_Nhdr>(notes, 0)) {
        const std::uint64_t begin = sizeof(Elf64_Nhdr) + padded(note->n_namesz);
        const Bytes owner = part(notes, sizeof(Elf64_Nhdr), note->n_namesz);
        if (note->n_type == NT_GNU_BUILD_ID && owner.size() == sizeof(kOwner) &&
            std::memcmp(owner.data(), kOwner, sizeof(kOwner)) == 0) {
            return part(notes, begin, note->n_descsz);
        }
        const std::uint64_t size = begin + padded(note->n_descsz);
        if (size > notes.size()) return {};
        notes = notes.subspan(size);
    }
    return {};
}

}  // namespace siftwell
