// Channel: where the tool's messages go.
//
// Threads: one. Errors: when nobody listens any more, the tool ends.
#pragma once

#include "wire/Messages.h"

namespace siftwell {

class Channel {
public:
    explicit Channel(int file) : m_file(file) {}

    void send(const wire::Message& message) const;

private:
    const int m_file;
};

}  // namespace siftwell
