// Any bytes as frames, and their messages. What is understood means the same once more.

#include <string>

#include "Require.h"
#include "wire/Frames.h"
#include "wire/Messages.h"

using namespace siftwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FrameReader reader;
    reader.input() += fuzz::asText(data, size);
    while (const auto bytes = reader.next()) {
        if (const auto message = wire::decodeMessage(*bytes)) {
            const std::string again = wire::encode(*message);
            const auto same = wire::decodeMessage(again);
            fuzz::require(same && wire::encode(*same) == again);
        }
        if (const auto task = wire::decodeTask(*bytes)) {
            fuzz::require(wire::decodeTask(wire::encode(*task)).has_value());
        }
    }
    return 0;
}
