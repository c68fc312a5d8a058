// What the tool takes from itself before it opens the first strange file: new rights, the network,
// other processes, and all files but those that its task names and its private copies.
//
// Errors: when the kernel has the means and they fail, the tool ends with a line on the error
// output. Where the kernel lacks one, the other holds alone.
#pragma once

#include <string>
#include <vector>

#include "wire/Messages.h"

namespace siftwell {

// Copies go below `privateFolder`. Builds with a sanitizer, which needs more of the kernel, confine
// nothing.
wire::Hello confineTo(const std::vector<std::string>& files, const std::string& privateFolder);

}  // namespace siftwell
