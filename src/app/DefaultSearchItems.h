// DefaultSearchItems: the search items that the program brings along.
//
// Their names are localized, and a name once registered stays in the user's list and in the index
// as the name of the source. Programs of one user may run in different languages (the window and
// the command line), so names are compared in their English form.
#pragma once

#include <string>
#include <vector>

#include "records/SearchItem.h"

namespace siftwell {

// Twenty items in the order of the list, named in the language of the program.
std::vector<SearchItem> defaultSearchItems();

// The English name of a built-in item that bears a translated one; any other name as it is.
std::string englishItemName(const std::string& name);

// Where the news reader keeps its cache now.
inline constexpr const char* kNetNewsWireCache =
    "~/Library/Containers/com.blackpixel.netnewswire/Data/Library/Caches/"
    "com.blackpixel.netnewswire";

}  // namespace siftwell
