#include "sources/caches/ContentDecoding.h"

#include <brotli/decode.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "base/Clock.h"

namespace siftwell {

namespace {

constexpr std::size_t kMostCodings = 3;
constexpr std::chrono::seconds kMostTime(3);
constexpr int kLargestZstdWindow = 23;  // what servers may use: 8 MiB

// A piece of what is to be unpacked, and room for a piece of what comes out.
struct Step {
    const unsigned char* in = nullptr;
    std::size_t inLeft = 0;
    unsigned char* out = nullptr;
    std::size_t outLeft = 0;
};

enum class Progress { More, End, Failed };

class Decoder {
public:
    virtual ~Decoder() = default;
    // Uses up what there is of one or of the other.
    virtual Progress advance(Step& step) = 0;
    // Whether the bytes may end here.
    virtual bool isWhole() const { return false; }
};

class ZlibDecoder final : public Decoder {
public:
    explicit ZlibDecoder(int windowBits) {
        m_isReady = inflateInit2(&m_stream, windowBits) == Z_OK;
    }
    ~ZlibDecoder() override {
        if (m_isReady) inflateEnd(&m_stream);
    }
    ZlibDecoder(const ZlibDecoder&) = delete;
    ZlibDecoder& operator=(const ZlibDecoder&) = delete;

    Progress advance(Step& step) override {
        if (!m_isReady) return Progress::Failed;
        m_stream.next_in = const_cast<unsigned char*>(step.in);  // it only reads
        m_stream.avail_in = static_cast<uInt>(step.inLeft);
        m_stream.next_out = step.out;
        m_stream.avail_out = static_cast<uInt>(step.outLeft);
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        step = {m_stream.next_in, m_stream.avail_in, m_stream.next_out, m_stream.avail_out};
        if (result == Z_STREAM_END) return Progress::End;
        return result == Z_OK || result == Z_BUF_ERROR ? Progress::More : Progress::Failed;
    }

private:
    z_stream m_stream{};
    bool m_isReady;
};

class BrotliDecoder final : public Decoder {
public:
    Progress advance(Step& step) override {
        if (m_state == nullptr) return Progress::Failed;
        const auto result = BrotliDecoderDecompressStream(m_state.get(), &step.inLeft, &step.in,
                                                          &step.outLeft, &step.out, nullptr);
        if (result == BROTLI_DECODER_RESULT_SUCCESS) return Progress::End;
        return result == BROTLI_DECODER_RESULT_ERROR ? Progress::Failed : Progress::More;
    }

private:
    struct Deleter {
        void operator()(BrotliDecoderState* state) const { BrotliDecoderDestroyInstance(state); }
    };
    std::unique_ptr<BrotliDecoderState, Deleter> m_state{
        BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)};
};

class ZstdDecoder final : public Decoder {
public:
    ZstdDecoder() {
        m_isReady = m_stream != nullptr &&
                    ZSTD_isError(ZSTD_DCtx_setParameter(m_stream.get(), ZSTD_d_windowLogMax,
                                                        kLargestZstdWindow)) == 0;
    }

    Progress advance(Step& step) override {
        if (!m_isReady) return Progress::Failed;
        ZSTD_inBuffer in = {step.in, step.inLeft, 0};
        ZSTD_outBuffer out = {step.out, step.outLeft, 0};
        const std::size_t result = ZSTD_decompressStream(m_stream.get(), &out, &in);
        step = {step.in + in.pos, step.inLeft - in.pos, step.out + out.pos, step.outLeft - out.pos};
        m_isFrameWhole = result == 0;
        return ZSTD_isError(result) != 0 ? Progress::Failed : Progress::More;
    }
    // Frames may follow one another.
    bool isWhole() const override { return m_isFrameWhole; }

private:
    struct Deleter {
        void operator()(ZSTD_DCtx* stream) const { ZSTD_freeDCtx(stream); }
    };
    std::unique_ptr<ZSTD_DCtx, Deleter> m_stream{ZSTD_createDCtx()};
    bool m_isReady;
    bool m_isFrameWhole = false;
};

// Many servers send what they call deflate without the head that belongs to it.
bool hasZlibHead(std::string_view bytes) {
    if (bytes.size() < 2) return false;
    const auto first = static_cast<unsigned char>(bytes[0]);
    const auto second = static_cast<unsigned char>(bytes[1]);
    return (first & 0x0F) == Z_DEFLATED && (first << 8 | second) % 31 == 0;
}

std::unique_ptr<Decoder> decoderFor(std::string_view coding, std::string_view bytes) {
    if (coding == "gzip" || coding == "x-gzip") {
        return std::make_unique<ZlibDecoder>(16 + MAX_WBITS);
    }
    if (coding == "deflate") {
        return std::make_unique<ZlibDecoder>(hasZlibHead(bytes) ? MAX_WBITS : -MAX_WBITS);
    }
    if (coding == "br") return std::make_unique<BrotliDecoder>();
    if (coding == "zstd") return std::make_unique<ZstdDecoder>();
    return nullptr;
}

// In small pieces, so that the time is looked at even while nothing comes out.
std::optional<std::string> unpacked(Decoder& decoder, std::string_view bytes, std::size_t maxBytes,
                                    std::chrono::nanoseconds deadline) {
    constexpr std::size_t kPiece = 16 << 10;
    std::array<unsigned char, 4 * kPiece> room;
    std::string result;
    const void* const begin = bytes.data();
    Step step{.in = static_cast<const unsigned char*>(begin)};
    std::size_t rest = bytes.size();
    while (true) {
        step.inLeft = std::min(rest, kPiece);
        const std::size_t given = step.inLeft;
        step.out = room.data();
        step.outLeft = room.size();
        const Progress progress = decoder.advance(step);
        const std::size_t count = room.size() - step.outLeft;
        rest -= given - step.inLeft;
        if (progress == Progress::Failed || count > maxBytes - result.size()) return std::nullopt;
        result.append(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(count));
        if (progress == Progress::End) return result;
        const bool isStill = count == 0 && given == step.inLeft;
        if (isStill || (rest == 0 && decoder.isWhole())) break;
        if (processorTimeOfThread() > deadline) return std::nullopt;
    }
    if (rest == 0 && decoder.isWhole()) return result;
    return std::nullopt;
}

std::string_view withoutX(std::string_view coding) {
    return coding.starts_with("x-") ? coding.substr(2) : coding;
}

bool isAnyTwice(const std::vector<std::string>& codings) {
    for (std::size_t i = 0; i < codings.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (withoutX(codings[i]) == withoutX(codings[j])) return true;
        }
    }
    return false;
}

}  // namespace

std::optional<std::string> decodedContent(std::string bytes,
                                          const std::vector<std::string>& codings,
                                          std::size_t maxBytes) {
    // A little that was packed many times over unpacks for ever.
    if (codings.size() > kMostCodings || isAnyTwice(codings)) return std::nullopt;
    const auto deadline = processorTimeOfThread() + kMostTime;
    for (std::size_t i = codings.size(); i-- > 0;) {
        const auto decoder = decoderFor(codings[i], bytes);
        auto result =
            decoder != nullptr ? unpacked(*decoder, bytes, maxBytes, deadline) : std::nullopt;
        if (!result) return std::nullopt;
        bytes = *std::move(result);
    }
    if (bytes.size() > maxBytes) return std::nullopt;
    return bytes;
}

}  // namespace siftwell
