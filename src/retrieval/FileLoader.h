// FileLoader loads files. The whole load happens within `start`, on its thread: the disk is fast,
// and who starts a file's load has nothing better to do than to read it.
//
// The response names the MIME type that goes with the file's extension and the encoding that its
// bytes show (a byte-order mark, or valid UTF-8).
#pragma once

#include "retrieval/URLLoader.h"

namespace siftwell {

class FileLoader : public URLLoader {
public:
    LoadID start(const URLRequest& request, std::shared_ptr<URLLoadClient> client) override;
    void cancel(LoadID) override {}
};

}  // namespace siftwell
