// The addresses that are left in an index file, however damaged it is.
//
// Threads: any. Errors: a Status when the file cannot be read; input is hostile. Time is linear in
// the file; memory 40 bytes for each document.
#pragma once

#include <functional>
#include <string>

#include "base/Status.h"
#include "base/Url.h"

namespace siftwell {

// Hands over each address once, until `take` answers no, without those of documents of which the
// file still tells that they were removed. Their scheme is the one in the file's name. `pace` is
// called now and then.
Status salvageIndexFile(const std::string& path, const std::function<bool(Url url)>& take,
                        const std::function<void()>& pace);

}  // namespace siftwell
