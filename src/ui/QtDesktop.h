// QtDesktop: the user's browser and clipboard.
//
// Threads: main.
#pragma once

#include "search/ResultActions.h"

namespace siftwell {

class QtDesktop : public Desktop {
public:
    bool open(const Url& url) override;
    void copy(const Url& url, const std::string& text) override;
};

}  // namespace siftwell
