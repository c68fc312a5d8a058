// Frames: how messages follow each other in a pipe: the length in 32 bits, the most significant
// byte first, and so many bytes.
//
// Threads: one. Errors: input is hostile; a length beyond kMaxFrameBytes ends the reading for good.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace siftwell {

// A page with what stands around it.
inline constexpr std::size_t kMaxFrameBytes = std::size_t{65} << 20;

std::string frameOf(std::string_view message);

class FrameReader {
public:
    // Where bytes that arrive are appended.
    std::string& input() { return m_bytes; }

    // The next whole message, valid until input() is changed; none when it has not arrived yet.
    std::optional<std::string_view> next();

    bool isBroken() const { return m_isBroken; }

private:
    std::string m_bytes;
    std::size_t m_read = 0;
    bool m_isBroken = false;
};

}  // namespace siftwell
