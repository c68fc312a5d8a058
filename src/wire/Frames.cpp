#include "wire/Frames.h"

#include <cstdint>

namespace siftwell {

namespace {

constexpr std::size_t kLengthBytes = 4;

std::size_t lengthIn(std::string_view bytes) {
    std::size_t length = 0;
    for (const char byte : bytes.substr(0, kLengthBytes)) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    return length;
}

}  // namespace

std::string frameOf(std::string_view message) {
    std::string frame;
    frame.reserve(kLengthBytes + message.size());
    for (int shift = 24; shift >= 0; shift -= 8) {
        frame += static_cast<char>(static_cast<std::uint32_t>(message.size()) >> shift & 0xFF);
    }
    frame += message;
    return frame;
}

std::optional<std::string_view> FrameReader::next() {
    const std::string_view rest = std::string_view(m_bytes).substr(m_read);
    const std::size_t length = rest.size() < kLengthBytes ? 0 : lengthIn(rest);
    m_isBroken = m_isBroken || length > kMaxFrameBytes;
    if (m_isBroken) return std::nullopt;
    if (rest.size() < kLengthBytes || rest.size() - kLengthBytes < length) {
        // What was taken goes once for all that arrived with it.
        m_bytes.erase(0, m_read);
        m_read = 0;
        return std::nullopt;
    }
    m_read += kLengthBytes + length;
    return rest.substr(kLengthBytes, length);
}

}  // namespace siftwell
