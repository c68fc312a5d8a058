// PathExpansion: from the path of a search item to the files and folders that it stands for.
//
// Threads: any. Errors: what is not there is not in the list.
#pragma once

#include <string>
#include <vector>

#include "base/Paths.h"

namespace siftwell {

// The path with its "~" or "~user" expanded and without symbolic links; with them when it leads to
// nothing.
std::string resolvingSymbolicLinks(const std::string& path);

// A path that begins with "*" means the program's own resource of its last component's name. One
// that exists stands for itself, whatever characters it has; otherwise it is a pattern ("*", "?",
// "[a-z]", a backslash quotes) and stands for all that matches, in the order of names. Links are
// resolved in the result.
std::vector<std::string> pathsByExpandingAndGlobbing(const std::string& path, const Paths& paths);

}  // namespace siftwell
