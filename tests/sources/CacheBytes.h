// Entries of browsers' caches, as those write them.
#pragma once

#include <zlib.h>
#include <zstd.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace siftwell::cachebytes {

inline std::string littleEndian(std::uint64_t number, int bytes = 4) {
    std::string text;
    for (int i = 0; i < bytes; ++i, number >>= 8) text += static_cast<char>(number & 0xFF);
    return text;
}

inline std::string bigEndian(std::uint64_t number, int bytes = 4) {
    const std::string text = littleEndian(number, bytes);
    return {text.rbegin(), text.rend()};
}

inline std::uint32_t checksumOf(std::string_view bytes) {
    const void* const anonymous = bytes.data();
    return static_cast<std::uint32_t>(
        crc32_z(0, static_cast<const Bytef*>(anonymous), bytes.size()));
}

// --- Packed bodies

// 31: gzip, 15: with zlib's head, -15: without.
inline std::string deflated(const std::string& text, int windowBits) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::vector<Bytef> in(text.begin(), text.end());
    std::vector<Bytef> out(text.size() + 256);
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return {out.begin(), out.end()};
}
inline std::string gzipped(const std::string& text) { return deflated(text, 31); }

// As it stands, in one piece of at most 64 KiB, and an empty last piece.
inline std::string brotli(const std::string& text) {
    return littleEndian((text.size() - 1) << 4 | 1 << 20, 3) + text + "\x03";
}

inline std::string zstd(const std::string& text) {
    std::string packed(ZSTD_compressBound(text.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), text.data(), text.size(), 1));
    return packed;
}

// --- Heads

inline const std::string kAddress = "http://h.example/page?a=1,2";
inline const std::string kBody = "<html><body>gondoliers</body></html>";

inline std::string headOf(const std::vector<std::string>& fields = {},
                          const std::string& type = "text/html; charset=UTF-8",
                          const std::string& status = "200 OK") {
    std::string head = "HTTP/1.1 " + status + "\r\nContent-Type: " + type + "\r\n";
    for (const std::string& field : fields) head += field + "\r\n";
    return head;
}

// --- Firefox

struct FirefoxEntry {
    std::string body = kBody;
    std::uint32_t version = 3;
    std::uint32_t lastFetched = 1'700'000'000;
    std::string key = "O^partitionKey=%28http%2Ch%29,a,~x,,y,:" + kAddress;
    std::vector<std::pair<std::string, std::string>> elements = {{"request-method", "GET"},
                                                                 {"response-head", headOf()}};
    std::uint32_t flags = 0;  // of the last word

    std::string bytes() const {
        const std::size_t chunks = (body.size() + (256 << 10) - 1) / (256 << 10);
        std::string file = body + "hash" + std::string(2 * chunks, '#') + bigEndian(version) +
                           bigEndian(1) + bigEndian(lastFetched) + bigEndian(1'600'000'000) +
                           bigEndian(7) + bigEndian(0xFFFFFFFF) + bigEndian(key.size());
        if (version > 1) file += bigEndian(0);
        file += key + '\0';
        for (const auto& [name, value] : elements) file += name + '\0' + value + '\0';
        if (version > 3) file += bigEndian(version);
        return file + bigEndian(body.size() | flags);
    }
};

// --- The Chrome family

constexpr std::uint64_t k2023 = 13'344'473'600'000'000;  // 1,700,000,000 seconds since 1970

struct StoredResponse {
    std::string head = headOf();
    std::uint32_t flags = 3;
    std::uint64_t received = k2023;

    std::string bytes() const {
        std::string lines;
        for (const char c : head) {
            if (c != '\r') lines += c == '\n' ? '\0' : c;
        }
        lines += '\0';
        const bool isNew = (flags & 1U << 31) != 0;
        const std::string payload =
            littleEndian(flags) + (isNew ? littleEndian(4) : "") +
            littleEndian(received - 500'000, 8) + littleEndian(received, 8) +
            (isNew ? littleEndian(1, 8) : "") + littleEndian(lines.size()) + lines +
            std::string((4 - lines.size() % 4) % 4, '\0') + littleEndian(9) + "127.0.0.1";
        return littleEndian(payload.size()) + payload;
    }
};

struct SimpleEntry {
    std::string key = "1/0/_dk_http://h.example http://h.example " + kAddress;
    std::string response = StoredResponse().bytes();
    std::string body = kBody;
    std::uint32_t flags = 3;  // a checksum and a hash of the key
    std::uint32_t bodyChecksum = checksumOf(body);

    std::string bytes() const {
        const auto end = [](std::uint32_t flagsOf, std::uint32_t checksum, std::uint64_t size) {
            return littleEndian(0xf4fa6f45970d41d8, 8) + littleEndian(flagsOf) +
                   littleEndian(checksum) + littleEndian(size) + littleEndian(0);
        };
        return littleEndian(0xfcfb6d1ba7725c30, 8) + littleEndian(5) + littleEndian(key.size()) +
               littleEndian(0, 8) + key + body + end(flags & 1, bodyChecksum, 0) + response +
               std::string((flags & 2) != 0 ? 32 : 0, '#') +
               end(flags, checksumOf(response), response.size());
    }
};

inline std::string simpleIndex(const std::map<std::uint64_t, std::uint64_t>& lastUsed,
                               std::uint32_t version = 9) {
    std::string payload = littleEndian(0x656e74657220796f, 8) + littleEndian(version) +
                          littleEndian(lastUsed.size(), 8) + littleEndian(4096, 8) +
                          (version > 6 ? littleEndian(0) : "");
    for (const auto& [hash, time] : lastUsed) {
        payload += littleEndian(hash, 8) + littleEndian(time, 8) + littleEndian(512, 8);
    }
    payload += littleEndian(k2023, 8);
    return littleEndian(payload.size()) + littleEndian(checksumOf(payload)) + payload;
}

// A block-file cache; files by their names.
class BlockFolder {
public:
    BlockFolder() {
        for (std::size_t i = 0; i < 4; ++i) {
            data(i) = littleEndian(0xC104CAC3) + littleEndian(0x20000) + littleEndian(i) +
                      littleEndian(kBlockBytes[i]);
            data(i).resize(8192);
        }
        std::string& index = files["index"];
        index = littleEndian(0xC103CAC3) + littleEndian(0x30000);
        index.resize(28);
        index += littleEndian(kBuckets);
        index.resize(368 + 4 * kBuckets);
    }

    // In the block file of that number; the address.
    std::uint32_t store(std::size_t number, const std::string& bytes) {
        std::string& file = data(number);
        const std::size_t first = (file.size() - 8192) / kBlockBytes[number];
        const std::size_t count = (bytes.size() + kBlockBytes[number] - 1) / kBlockBytes[number];
        file += bytes;
        file.resize(8192 + (first + count) * kBlockBytes[number]);
        return static_cast<std::uint32_t>(0x80000000 | (number + 1) << 28 | (count - 1) << 24 |
                                          number << 16 | first);
    }

    // In the first bucket, before what was added last.
    std::uint32_t add(const std::string& body = kBody, const std::string& key = "1/0/" + kAddress,
                      const std::string& response = StoredResponse().bytes(),
                      std::uint64_t lastUsed = k2023, std::uint32_t state = 0) {
        const std::size_t blocks =
            key.size() > 160 && key.size() < 900 ? (96 + key.size()) / 256 + 1 : 1;
        const auto entry = static_cast<std::uint32_t>(0xA0000000 | (blocks - 1) << 24 | 1 << 16 |
                                                      (data(1).size() - 8192) / 256);
        const std::uint32_t rankings =
            store(0, littleEndian(lastUsed, 8) + littleEndian(0, 8) + littleEndian(0, 8) +
                         littleEndian(entry) + littleEndian(0) + littleEndian(0));
        std::uint32_t bodyAt = 0x80000007;
        if (body.size() > 16384) {
            files["f_000007"] = body;
        } else {
            bodyAt = store(3, body);
        }
        const bool isLong = key.size() >= 900;
        std::string bytes =
            littleEndian(1) + littleEndian(m_last) + littleEndian(rankings) + littleEndian(0, 8) +
            littleEndian(state) + littleEndian(k2023 - 1'000'000, 8) + littleEndian(key.size()) +
            littleEndian(isLong ? store(2, key) : 0) + littleEndian(response.size()) +
            littleEndian(body.size()) + littleEndian(0, 8) + littleEndian(store(2, response)) +
            littleEndian(bodyAt);
        bytes.resize(96);
        if (!isLong) bytes += key;
        bytes.resize(256 * blocks);
        store(1, bytes);
        m_last = entry;
        files["index"].replace(368, 4, littleEndian(entry));
        return entry;
    }

    std::map<std::string, std::string> files;

private:
    static constexpr std::size_t kBuckets = 4;
    static constexpr std::size_t kBlockBytes[] = {36, 256, 1024, 4096};

    std::string& data(std::size_t number) { return files["data_" + std::to_string(number)]; }

    std::uint32_t m_last = 0;
};

}  // namespace siftwell::cachebytes
