// RegisteredDefaults: every setting with the value that it has until the user chooses another.
#pragma once

#include "base/PropertyList.h"

namespace siftwell {

// "constraintDate2" is the date given. Texts stay texts even where they look like numbers.
PropertyList::Dictionary registeredDefaults(Date now);

}  // namespace siftwell
