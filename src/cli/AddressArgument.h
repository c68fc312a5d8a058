// Addresses and paths, as they are typed.
//
// Threads: any; they look at the files that are named.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Url.h"

namespace siftwell {

// The address of a page, which may be typed with blanks, and with letters of any language; none for
// a path, the address of a file, and what is no address.
std::optional<Url> pageAddressIn(const std::string& argument);

// A path, or the path in the address of a file.
std::string pathIn(const std::string& argument);

// What an argument may stand for, the likeliest first: an address; a file by its name, whose folder
// may be a link; the file that the name leads to.
std::vector<Url> urlsOf(const std::string& argument);

}  // namespace siftwell
