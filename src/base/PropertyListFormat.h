// Reading and writing property lists as files hold them, in their binary and their XML form.
//
// Threads: pure functions. Errors: input is hostile; what is malformed, nested deeper than 512
// levels, circular, or many times larger once its references are followed is refused before the
// library that parses it (which recurses) sees it.
#pragma once

#include <string>
#include <string_view>

#include "base/PropertyList.h"
#include "base/Status.h"

namespace siftwell {

// Accepts both forms. Dates are kept to the microsecond within 68 years of 2001; beyond that they
// read as the distant past and the distant future.
Result<PropertyList> parsePropertyList(std::string_view bytes);

// The binary form: the XML form drops fractions of a second and dates far from now. Null values
// inside containers are left out. U+FFFD stands for bytes of strings that are no UTF-8.
std::string serializePropertyList(const PropertyList& value);

// Whether the nesting of a property list of either form is well formed and at most `maxDepth`.
bool isPropertyListDepthWithin(std::string_view bytes, int maxDepth);

}  // namespace siftwell
