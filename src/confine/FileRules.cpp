#include "confine/FileRules.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "confine/Failure.h"

namespace siftwell {

namespace {

// In the root folder. The readers need nothing of them.
constexpr std::string_view kKernelFolders[] = {"proc", "sys", "dev"};

// By the versions of Landlock; the headers know the older ones only.
std::uint64_t accessesKnownTo(long version) {
    constexpr std::uint64_t kOfVersion1 = LANDLOCK_ACCESS_FS_MAKE_SYM * 2 - 1;
    constexpr std::uint64_t kRefer = 1U << 13;
    constexpr std::uint64_t kTruncate = 1U << 14;
    constexpr std::uint64_t kControlDevice = 1U << 15;
    std::uint64_t accesses = kOfVersion1;
    if (version >= 2) accesses |= kRefer;
    if (version >= 3) accesses |= kTruncate;
    if (version >= 5) accesses |= kControlDevice;
    return accesses;
}

constexpr std::uint64_t kReading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kOfFolders = ~std::uint64_t{LANDLOCK_ACCESS_FS_EXECUTE} &
                                     ~std::uint64_t{LANDLOCK_ACCESS_FS_READ_FILE} &
                                     ~std::uint64_t{LANDLOCK_ACCESS_FS_WRITE_FILE} &
                                     ~(std::uint64_t{1} << 14);  // cutting files short

// What is neither a folder nor a file is passed over.
void allow(int rules, int file, std::uint64_t accesses) {
    struct stat info {};
    if (fstat(file, &info) != 0) return;
    landlock_path_beneath_attr beneath{};
    beneath.parent_fd = file;
    beneath.allowed_access = S_ISDIR(info.st_mode) ? accesses : accesses & ~kOfFolders;
    if (S_ISDIR(info.st_mode) || S_ISREG(info.st_mode)) {
        require(syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0),
                "add a rule for files");
    }
}

void allowBelow(int rules, int folder, const char* name, int flags, std::uint64_t accesses) {
    const int file = openat(folder, name, O_PATH | O_CLOEXEC | flags);
    if (file < 0) return;
    allow(rules, file, accesses);
    close(file);
}

void allowReadingAllButKernelFolders(int rules) {
    DIR* const root = opendir("/");
    if (root == nullptr) fail("read the root folder", errno);
    while (const dirent* const entry = readdir(root)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (std::find(std::begin(kKernelFolders), std::end(kKernelFolders), name) !=
            std::end(kKernelFolders)) {
            continue;
        }
        // A link is passed over: rules hold for what it leads to, wherever that is.
        allowBelow(rules, dirfd(root), entry->d_name, O_NOFOLLOW,
                   kReading | LANDLOCK_ACCESS_FS_EXECUTE);
    }
    closedir(root);
}

// The version of Landlock; 0 when the kernel has none.
long landlockVersion() {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    // Older containers refuse calls that they do not know.
    if (version < 0 && (errno == ENOSYS || errno == EOPNOTSUPP || errno == EPERM)) return 0;
    require(version, "ask for Landlock");
    return version;
}

// Nothing is allowed yet.
int makeRules(std::uint64_t accesses) {
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = accesses;
    const long rules = syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0);
    require(rules, "make rules for files");
    return static_cast<int>(rules);
}

void follow(int rules) {
    require(syscall(SYS_landlock_restrict_self, rules, 0), "follow the rules for files");
    close(rules);
}

}  // namespace

bool allowReadingOnly() {
    const long version = landlockVersion();
    if (version == 0) return false;
    const int rules = makeRules(accessesKnownTo(version));
    allowReadingAllButKernelFolders(rules);
    follow(rules);
    return true;
}

bool allowOnly(const std::vector<std::string>& readable, const std::string& writableFolder) {
    const long version = landlockVersion();
    if (version == 0) return false;
    const std::uint64_t all = accessesKnownTo(version);
    const int rules = makeRules(all);
    for (const std::string& path : readable) {
        allowBelow(rules, AT_FDCWD, path.c_str(), 0, kReading);
    }
    allowBelow(rules, AT_FDCWD, writableFolder.c_str(), O_NOFOLLOW,
               all & ~std::uint64_t{LANDLOCK_ACCESS_FS_EXECUTE});
    follow(rules);
    return true;
}

void hideKernelFolders() {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) < 0 && unshare(CLONE_NEWUSER) < 0) return;
    for (const std::string_view folder : kKernelFolders) {
        const std::string path = "/" + std::string(folder);
        mount("none", path.c_str(), "tmpfs", MS_RDONLY | MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    }
}

}  // namespace siftwell
