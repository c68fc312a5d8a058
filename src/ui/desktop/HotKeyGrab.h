// HotKeyGrab: one way in which a desktop gives a program a key for itself.
//
// Threads: main.
// Errors: told to the handler, as a sentence for the user.
#pragma once

#include <functional>

#include "base/Status.h"
#include "ui/desktop/HotKey.h"

namespace siftwell {

class HotKeyGrab {
public:
    struct Handlers {
        std::function<void()> pressed;
        // What came of grab(): at once, or when the desktop has answered.
        std::function<void(const Status&)> grabbed;
    };

    virtual ~HotKeyGrab() = default;

    // In the place of the one before. The key is not none.
    virtual void grab(const HotKey& key) = 0;
    virtual void release() = 0;
};

// Of a desktop that has no way to it.
Status noHotKeysHere();

}  // namespace siftwell
