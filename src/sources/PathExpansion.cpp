#include "sources/PathExpansion.h"

#include <glob.h>

#include <cstdlib>
#include <memory>
#include <optional>

#include "base/Files.h"

namespace siftwell {

namespace {

std::optional<std::string> resourceMeantBy(const std::string& path, const Paths& paths) {
    const std::string name = lastPathComponent(path);
    const std::string type = pathExtension(name);
    const std::size_t dotAndType = type.empty() ? 0 : type.size() + 1;
    return paths.resource(name.substr(0, name.size() - dotAndType), type);
}

std::vector<std::string> matchesOf(const std::string& pattern) {
    glob_t found{};
    const std::unique_ptr<glob_t, void (*)(glob_t*)> owner(&found, globfree);
    // A backslash quotes unless it is forbidden to.
    if (glob(pattern.c_str(), GLOB_TILDE, nullptr, &found) != 0) return {};
    return {found.gl_pathv, found.gl_pathv + found.gl_pathc};
}

}  // namespace

std::string resolvingSymbolicLinks(const std::string& path) {
    const std::string expanded = expandingTilde(path);
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(expanded.c_str(), nullptr),
                                                          free);
    return resolved == nullptr ? expanded : std::string(resolved.get());
}

std::vector<std::string> pathsByExpandingAndGlobbing(const std::string& path, const Paths& paths) {
    std::string meant = path;
    if (path.starts_with('*')) {
        const auto resource = resourceMeantBy(path, paths);
        if (!resource) return {};
        meant = *resource;
    }
    meant = resolvingSymbolicLinks(meant);
    if (fileInfo(meant)) return {meant};
    std::vector<std::string> matches = matchesOf(meant);
    for (std::string& match : matches) match = resolvingSymbolicLinks(match);
    return matches;
}

}  // namespace siftwell
