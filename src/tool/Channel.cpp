#include "tool/Channel.h"

#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "wire/Frames.h"

namespace siftwell {

namespace {

constexpr int kNobodyListens = 1;  // exit status

}  // namespace

void Channel::send(const wire::Message& message) const {
    const std::string frame = frameOf(encode(message));
    for (std::string_view rest = frame; !rest.empty();) {
        const ssize_t count = write(m_file, rest.data(), rest.size());
        if (count > 0) {
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno != EINTR) {
            _exit(kNobodyListens);
        }
    }
}

}  // namespace siftwell
