#include "sources/FileDates.h"

#include <sys/stat.h>

namespace siftwell {

Date dateOf(const timespec& time) {
    return Date::fromUnix(static_cast<double>(time.tv_sec) +
                          static_cast<double>(time.tv_nsec) * 1e-9);
}

std::optional<Date> modificationDateOfLinkAtPath(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return std::nullopt;
    return dateOf(info.st_mtim);
}

}  // namespace siftwell
