#include "cli/JsonLine.h"

#include <nlohmann/json.hpp>

#include "text/Utf8.h"

namespace siftwell {

std::string jsonLine(const nlohmann::ordered_json& object) {
    constexpr const char* kHex = "0123456789abcdef";
    const std::string text = object.dump();
    std::string line;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character next = utf8CharacterAt(text, at);
        // JSON asks for an escape below U+0020 only.
        if (next.character >= 0x7F && next.character < 0xA0) {
            line += "\\u00";
            line += kHex[next.character >> 4];
            line += kHex[next.character & 15];
        } else {
            line.append(text, at, next.bytes);
        }
        at += next.bytes;
    }
    return line;
}

}  // namespace siftwell
