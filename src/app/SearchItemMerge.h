// SearchItemMerge: brings the built-in search items into the user's list, once per launch.
//
// Threads: a pure function of its arguments.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "records/SearchItem.h"

namespace siftwell {

// The path of an existing folder with its tilde expanded and its links resolved; none when there
// is no such folder.
using FolderProbe = std::function<std::optional<std::string>(const std::string& path)>;

// Items of sources that were renamed or retired leave the list, the switched-on state of renamed
// ones going over to their successors; retired ones that are on stay. Built-in items that are
// missing are appended. What the user changed in an item wins, except the paths that depend on the
// version of the browser engine (a bundle version such as "7534.48.3").
std::vector<SearchItem> mergedSearchItems(std::vector<SearchItem> list,
                                          const std::vector<SearchItem>& defaults,
                                          const std::string& engineVersion,
                                          const FolderProbe& resolvedFolder);

}  // namespace siftwell
