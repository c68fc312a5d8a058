#include "index/IndexFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "base/Files.h"
#include "base/Translate.h"

namespace siftwell {

namespace {

constexpr int kFolderSeverity = 9;
constexpr int kMigrationSeverity = 8;

bool isThere(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

// Answers 0, or the number of what went wrong.
int makeFolder(const std::string& path) {
    // Where that fails, the next step says why.
    static_cast<void>(makePrivateFolder(folderOf(path)));
    return mkdir(path.c_str(), 0700) == 0 ? 0 : errno;
}

void moveInto(const std::string& folder, const std::filesystem::path& file, SWNotifier& notifier) {
    const std::string name = file.filename().string();
    const std::string target = folder + "/" + name;
    std::error_code error;
    if (!isThere(target)) std::filesystem::rename(file, target, error);
    if (error && !isThere(target)) {
        notifier.reportError(
            filledIn(_("Could not copy %@ to your new index folder."), name), kMigrationSeverity,
            "",
            _("Please move the file manually from HOME/Library/Preferences/Siftwell Index/ to "
              "HOME/Library/Application Support/Siftwell/"));
    }
}

}  // namespace

std::optional<std::string> findIndexFolder(const Paths& paths, bool mayCreate,
                                           SWNotifier& notifier) {
    const auto fail = [&notifier](const std::string& error, const std::string& details) {
        notifier.reportError(error, kFolderSeverity, "", details);
        return std::nullopt;
    };
    if (paths.applicationData.empty()) {
        return fail(_("Could not find your Application Support folder!"), "");
    }
    const std::string item = paths.applicationData + "/Siftwell";
    if (!isThere(item)) {
        if (!mayCreate) return std::nullopt;
        if (const int error = makeFolder(item); error != 0) {
            return fail(
                filledIn(_("Could not find or create the Siftwell folder in your Application "
                           "Support folder (%d)"),
                         std::int64_t{error}),
                _("Please make sure you have permission to write to your Application Support "
                  "folder."));
        }
    }
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(item, error);
    if (error) {
        return fail(filledIn(_("Could not resolve the alias to the Siftwell folder in your "
                               "Application Support folder (%d)"),
                             std::int64_t{error.value()}),
                    _("Please make sure that the \"Siftwell\" alias points to a valid folder"));
    }
    if (!std::filesystem::is_directory(target, error)) {
        return fail(
            _("Could not access the Siftwell folder in your Application Support folder"),
            _("There is a file with the name \"Siftwell\".  Please remove it so I can create "
              "a folder there instead."));
    }
    return target.string();
}

void migrateOldIndexFolder(const Paths& paths, const std::string& indexFolder,
                           SWNotifier& notifier) {
    std::error_code error;
    if (paths.oldIndexFolder.empty() ||
        !std::filesystem::is_directory(paths.oldIndexFolder, error)) {
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(paths.oldIndexFolder, error)) {
        if (!entry.is_directory(error)) moveInto(indexFolder, entry.path(), notifier);
    }
    // Refused while anything is left in it.
    std::filesystem::remove(paths.oldIndexFolder, error);
}

}  // namespace siftwell
