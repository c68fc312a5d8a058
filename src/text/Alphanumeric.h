// What is left of a text when only its letters and digits count.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

#include "text/Yield.h"

namespace siftwell {

// Puts a space in place of every character that is no letter, mark or number, and of every byte
// that is no character; runs of spaces stay. Calls back before the 1st, 101st, 201st, ...
// replacement, a space put in place of a space included. In place; on a page's way to the index
// this sees every byte.
void reduceToAlphanumeric(std::string& text, const Yield& whilePerforming);

}  // namespace siftwell
