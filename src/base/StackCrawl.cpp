#include "base/StackCrawl.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "base/ElfSymbols.h"
#include "base/FileDescriptor.h"

namespace siftwell {

namespace {

using Bytes = std::span<const std::byte>;

// An image of the process: the program or a shared library.
struct Image {
    std::uintptr_t address = 0;  // that of whose code this is
    std::uintptr_t base = 0;     // what its own addresses were shifted by
    const char* path = nullptr;
    Bytes buildID;
};

bool holds(const dl_phdr_info& image, std::uintptr_t address) {
    const std::span segments(image.dlpi_phdr, image.dlpi_phnum);
    return std::any_of(segments.begin(), segments.end(), [&](const ElfW(Phdr) & segment) {
        return segment.p_type == PT_LOAD &&
               address - image.dlpi_addr - segment.p_vaddr < segment.p_memsz;
    });
}

Bytes buildIDOf(const dl_phdr_info& image) {
    for (const ElfW(Phdr) & segment : std::span(image.dlpi_phdr, image.dlpi_phnum)) {
        if (segment.p_type != PT_NOTE) continue;
        const auto notes = image.dlpi_addr + segment.p_vaddr;
        const Bytes found = ElfSymbols::buildIDIn(
            {reinterpret_cast<const std::byte*>(notes),  // NOLINT(performance-no-int-to-ptr)
             segment.p_memsz},
            segment.p_align);
        if (!found.empty()) return found;
    }
    return {};
}

int lookAtImage(dl_phdr_info* info, std::size_t /*size*/, void* result) {
    auto& image = *static_cast<Image*>(result);
    if (!holds(*info, image.address)) return 0;
    image.base = info->dlpi_addr;
    // The program itself bears no name there; it comes first.
    image.path = *info->dlpi_name == '\0' ? "/proc/self/exe" : info->dlpi_name;
    image.buildID = buildIDOf(*info);
    return 1;
}

// A file's bytes, for reading, as long as the object lives.
class MappedFile {
public:
    explicit MappedFile(const char* path) {
        const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC));
        struct stat info {};
        if (!file.isOpen() || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return;
        const auto size = static_cast<std::size_t>(info.st_size);
        void* const start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
        if (start != MAP_FAILED) m_bytes = {static_cast<const std::byte*>(start), size};
    }
    ~MappedFile() {
        if (m_bytes.empty()) return;
        munmap(const_cast<std::byte*>(m_bytes.data()), m_bytes.size());
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    Bytes bytes() const { return m_bytes; }

private:
    Bytes m_bytes;
};

// Prints with the name while its bytes are still mapped.
template <typename Print>
bool printFromFile(std::uintptr_t address, Print print) {
    Image image{.address = address};
    if (dl_iterate_phdr(&lookAtImage, &image) == 0) return false;
    const MappedFile file(image.path);
    const ElfSymbols symbols(file.bytes());
    if (!symbols.isBuild(image.buildID)) return false;
    const auto place = symbols.symbolAt(address - image.base);
    if (place) print(place->name, image.base + place->address);
    return place.has_value();
}

template <typename Print>
bool printFromLoadedImage(std::uintptr_t address, Print print) {
    Dl_info info{};
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    if (dladdr(reinterpret_cast<const void*>(address), &info) == 0 || info.dli_sname == nullptr) {
        return false;
    }
    print(std::string_view(info.dli_sname), reinterpret_cast<std::uintptr_t>(info.dli_saddr));
    return true;
}

bool isEndOfStack(std::uintptr_t returnAddress) {
    return returnAddress + 4 < 8 || returnAddress == 4096;
}

struct Walk {
    std::span<StackFrame> frames;
    std::size_t count = 0;
    bool isInCaller = false;  // the first frame is ofThisThread itself
};

_Unwind_Reason_Code visitFrame(_Unwind_Context* context, void* state) {
    auto& walk = *static_cast<Walk*>(state);
    int isBeforeInstruction = 0;
    const std::uintptr_t address = _Unwind_GetIPInfo(context, &isBeforeInstruction);
    if (isEndOfStack(address) || walk.count == walk.frames.size()) return _URC_END_OF_STACK;
    if (walk.isInCaller) {
        walk.frames[walk.count++] = {_Unwind_GetCFA(context), address, isBeforeInstruction == 0};
    }
    walk.isInCaller = true;
    return _URC_NO_REASON;
}

}  // namespace

__attribute__((noinline)) StackFrames StackFrames::ofThisThread() {
    StackFrames result;
    Walk walk{result.m_frames};
    _Unwind_Backtrace(&visitFrame, &walk);
    result.m_count = walk.count;
    return result;
}

StackLine::StackLine(const StackFrame& frame) {
    const auto keep = [this](int length) {
        m_length = std::min(static_cast<std::size_t>(std::max(length, 0)), m_text.size() - 1);
    };
    const auto print = [&](std::string_view name, std::uintptr_t begin) {
        constexpr std::size_t kMaxName = 900;  // the rest of the line fits behind it
        keep(std::snprintf(m_text.data(), m_text.size(), "  %016lX  %016lX  %.*s+%lX", frame.frame,
                           frame.returnAddress, static_cast<int>(std::min(name.size(), kMaxName)),
                           name.data(), frame.returnAddress - begin));
    };
    // A call may be the last instruction of its function: it is looked for, not what follows it.
    const std::uintptr_t place = frame.returnAddress - (frame.isCall ? 1 : 0);
    if (printFromLoadedImage(place, print) || printFromFile(place, print)) return;
    keep(std::snprintf(m_text.data(), m_text.size(), "  %016lX  %016lX  (unknown)", frame.frame,
                       frame.returnAddress));
}

void writeText(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

void writeStackCrawl(int descriptor, std::span<const StackFrame> frames) {
    constexpr int kWiderThan32Bits = 2 * sizeof(void*) - 8;
    std::array<char, 64> heading;
    const int length = std::snprintf(heading.data(), heading.size(), "   Frame     %*sCaller\n",
                                     kWiderThan32Bits, "");
    writeText(descriptor, {heading.data(), static_cast<std::size_t>(length)});
    for (const StackFrame& frame : frames) {
        writeText(descriptor, StackLine(frame).text());
        writeText(descriptor, "\n");
    }
}

void DumpStackCrawl(int /*ignored*/) {
    writeStackCrawl(STDERR_FILENO, StackFrames::ofThisThread().all());
}

}  // namespace siftwell
