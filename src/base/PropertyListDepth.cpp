#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "base/PropertyListFormat.h"

namespace siftwell {

namespace {

constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr std::uint64_t kMaxValues = 10'000'000;  // about a gigabyte once parsed
constexpr std::uint64_t kMaxContents = std::uint64_t{1} << 30;

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

// The object table of a binary property list, read far enough to follow its references.
class BinaryObjects {
public:
    // None when the trailer contradicts the file.
    static std::optional<BinaryObjects> open(std::string_view bytes) {
        if (bytes.size() < kBinaryMagic.size() + kTrailerSize) return std::nullopt;
        const std::string_view trailer = bytes.substr(bytes.size() - kTrailerSize);
        BinaryObjects objects;
        objects.m_bytes = bytes.substr(0, bytes.size() - kTrailerSize);
        objects.m_offsetSize = static_cast<unsigned char>(trailer[6]);
        objects.m_referenceSize = static_cast<unsigned char>(trailer[7]);
        objects.m_count = bigEndian(trailer.substr(8, 8));
        objects.m_root = bigEndian(trailer.substr(16, 8));
        objects.m_offsetTable = bigEndian(trailer.substr(24, 8));
        if (!objects.isConsistent()) return std::nullopt;
        return objects;
    }

    std::uint64_t count() const { return m_count; }
    std::uint64_t root() const { return m_root; }

    // The objects that object `index` holds, the keys of a dictionary first; none when it or one of
    // them lies outside the file.
    std::optional<std::vector<std::uint64_t>> children(std::uint64_t index) const {
        const auto object = objectAt(index);
        if (!object) return std::nullopt;
        if (!object->isArray() && !object->isDictionary()) return std::vector<std::uint64_t>();
        return references(object->contents, object->isArray() ? object->length : object->length * 2,
                          object->length);
    }

    // How many of the children are keys.
    std::uint64_t keyCount(std::uint64_t index) const {
        const auto object = objectAt(index);
        return object && object->isDictionary() ? object->length : 0;
    }

    // How many bytes a string or data takes once parsed, at most; 0 for everything else.
    std::uint64_t contentsSize(std::uint64_t index) const {
        constexpr std::uint64_t kLongestUnit = 3;  // UTF-16 becomes UTF-8
        const auto object = objectAt(index);
        if (!object || object->kind < 0x4 || object->kind > 0x6) return 0;
        // What is longer than the file is refused by the parser.
        const std::uint64_t length = std::min<std::uint64_t>(object->length, m_bytes.size());
        return object->kind == 0x6 ? length * kLongestUnit : length;
    }

    // Whether the object is a string without zero characters; the library ends the program when it
    // meets one in a key.
    bool isKey(std::uint64_t index) const {
        const auto object = objectAt(index);
        if (!object || (object->kind != 0x5 && object->kind != 0x6)) return false;
        const std::uint64_t width = object->kind - 0x4U;
        if (object->length > (m_bytes.size() - object->contents) / width) return false;
        for (std::uint64_t i = 0; i < object->length; ++i) {
            if (bigEndian(m_bytes.substr(object->contents + i * width, width)) == 0) return false;
        }
        return true;
    }

private:
    struct Object {
        unsigned kind = 0;
        std::uint64_t length = 0;
        std::uint64_t contents = 0;  // where they begin

        bool isArray() const { return kind == 0xA || kind == 0xC; }
        bool isDictionary() const { return kind == 0xD; }
    };

    // None when it lies outside the file. The length of numbers and the like is of no meaning.
    std::optional<Object> objectAt(std::uint64_t index) const {
        const std::uint64_t at =
            bigEndian(m_bytes.substr(m_offsetTable + index * m_offsetSize, m_offsetSize));
        if (at >= m_bytes.size()) return std::nullopt;
        const unsigned marker = static_cast<unsigned char>(m_bytes[at]);
        Object object{.kind = marker >> 4, .length = marker & 0xF, .contents = at + 1};
        if (object.length < 0xF || object.kind < 0x4 || object.kind == 0x8) return object;

        if (object.contents >= m_bytes.size()) return std::nullopt;
        const auto integer = static_cast<unsigned char>(m_bytes[object.contents]);
        if (integer < 0x10 || integer > 0x13) return std::nullopt;  // 1 to 8 bytes
        const std::size_t width = std::size_t{1} << (integer & 0x3);
        if (m_bytes.size() - object.contents - 1 < width) return std::nullopt;
        object.length = bigEndian(m_bytes.substr(object.contents + 1, width));
        object.contents += 1 + width;
        return object;
    }

    bool isConsistent() const {
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
            return false;
        if (m_count > kMaxValues || m_root >= m_count || m_offsetTable > m_bytes.size())
            return false;
        return m_count <= (m_bytes.size() - m_offsetTable) / m_offsetSize;
    }

    std::optional<std::vector<std::uint64_t>> references(std::uint64_t position,
                                                         std::uint64_t number,
                                                         std::uint64_t length) const {
        if (length > m_bytes.size() || number > (m_bytes.size() - position) / m_referenceSize) {
            return std::nullopt;
        }
        std::vector<std::uint64_t> result;
        for (std::uint64_t i = 0; i < number; ++i) {
            const auto reference =
                bigEndian(m_bytes.substr(position + i * m_referenceSize, m_referenceSize));
            if (reference >= m_count) return std::nullopt;
            result.push_back(reference);
        }
        return result;
    }

    std::string_view m_bytes;
    std::size_t m_offsetSize = 0;
    std::size_t m_referenceSize = 0;
    std::uint64_t m_count = 0;
    std::uint64_t m_root = 0;
    std::uint64_t m_offsetTable = 0;
};

// Follows every reference once. What several containers share is expanded by the parser each time,
// so what it would make is bounded too. The number of values: by the size of the file, which no
// file without shared containers exceeds. Their strings and data: by a multiple of it, since files
// are written with every equal string in them once. Both by what fits into memory.
class BinaryDepthCheck {
public:
    BinaryDepthCheck(const BinaryObjects& objects, std::uint64_t fileSize)
        : m_objects(objects),
          m_maxValues(std::min(fileSize, kMaxValues)),
          m_maxContents(std::min(fileSize * kUsesOfAString, kMaxContents)),
          m_state(objects.count()) {}

    bool isWithin(int maxDepth) {
        if (!enter(m_objects.root())) return false;
        while (!m_path.empty()) {
            if (m_path.size() > static_cast<std::size_t>(maxDepth) + 1) return false;
            Step& step = m_path.back();
            if (step.next < step.children.size()) {
                if (!visit(step.children[step.next++])) return false;
            } else if (!leave()) {
                return false;
            }
        }
        const State& root = m_state[m_objects.root()];
        return isWithinLimits(root) && root.depth <= maxDepth;
    }

private:
    static constexpr std::uint64_t kUsesOfAString = 64;  // on average

    struct State {
        enum { Unseen, Open, Done } stage = Unseen;
        bool isKey = false;
        int depth = 0;
        std::uint64_t values = 1;
        std::uint64_t contents = 0;  // bytes of the strings and data below
    };
    struct Step {
        std::uint64_t object;
        std::vector<std::uint64_t> children;
        std::size_t next = 0;
    };

    bool enter(std::uint64_t object) {
        auto children = m_objects.children(object);
        if (!children) return false;
        const std::uint64_t keys = m_objects.keyCount(object);
        for (std::uint64_t i = 0; i < keys; ++i) {
            if (!checkKey((*children)[i])) return false;
        }
        m_state[object].stage = State::Open;
        m_state[object].contents = m_objects.contentsSize(object);
        m_path.push_back({object, std::move(*children)});
        return true;
    }

    // Reads each key once, in however many dictionaries it is used.
    bool checkKey(std::uint64_t object) {
        State& state = m_state[object];
        state.isKey = state.isKey || m_objects.isKey(object);
        return state.isKey;
    }

    bool visit(std::uint64_t child) {
        switch (m_state[child].stage) {
            case State::Unseen:
                return enter(child);
            case State::Open:
                return false;  // a circle
            case State::Done:
                return true;
        }
        return false;
    }

    bool leave() {
        const Step step = std::move(m_path.back());
        m_path.pop_back();
        State& state = m_state[step.object];
        state.stage = State::Done;
        for (const std::uint64_t child : step.children) {
            state.depth = std::max(state.depth, m_state[child].depth + 1);
            state.values += m_state[child].values;
            state.contents += m_state[child].contents;
            if (!isWithinLimits(state)) return false;
        }
        return true;
    }

    bool isWithinLimits(const State& state) const {
        return state.values <= m_maxValues && state.contents <= m_maxContents;
    }

    const BinaryObjects& m_objects;
    std::uint64_t m_maxValues;
    std::uint64_t m_maxContents;
    std::vector<State> m_state;
    std::vector<Step> m_path;
};

// The length of the markup that `text` begins with, or 0 when it does not end or when the library
// could see its end elsewhere: it skips quoted ">" and the declarations inside a document type,
// and both could hide elements from whoever counts them here. No property list needs either.
std::size_t markupLength(std::string_view text) {
    constexpr std::string_view kComment = "<!--";
    constexpr std::string_view kEndOfComment = "-->";
    constexpr std::string_view kEndOfData = "]]>";
    std::size_t end = std::string_view::npos;
    if (text.starts_with(kComment)) {
        if (text.starts_with("<!-->") || text.starts_with("<!--->")) return 0;
        end = text.find(kEndOfComment, kComment.size());
        return end == std::string_view::npos ? 0 : end + kEndOfComment.size();
    }
    if (text.starts_with("<![CDATA[")) {
        end = text.find(kEndOfData);
        return end == std::string_view::npos ? 0 : end + kEndOfData.size();
    }
    end = text.find('>');
    if (end == std::string_view::npos) return 0;
    const std::string_view markup = text.substr(0, end + 1);
    if (std::count(markup.begin(), markup.end(), '"') % 2 != 0) return 0;
    if (markup.starts_with("<!") && markup.find('[') != std::string_view::npos) return 0;
    if (markup.starts_with("<?") && !markup.ends_with("?>")) return 0;
    return markup.size();
}

bool isXmlDepthWithin(std::string_view text, int maxDepth) {
    int depth = 0;
    std::size_t length = 0;
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; at += length) {
        length = markupLength(text.substr(at));
        if (length == 0) return false;
        const std::string_view markup = text.substr(at, length);
        if (markup.starts_with("<!") || markup.starts_with("<?")) continue;
        if (markup.starts_with("</")) {
            if (--depth < 0) return false;
        } else if (!markup.ends_with("/>")) {
            if (++depth > maxDepth) return false;
        }
    }
    return true;
}

}  // namespace

bool isPropertyListDepthWithin(std::string_view bytes, int maxDepth) {
    if (!bytes.starts_with(kBinaryMagic)) return isXmlDepthWithin(bytes, maxDepth);
    const auto objects = BinaryObjects::open(bytes);
    return objects && BinaryDepthCheck(*objects, bytes.size()).isWithin(maxDepth);
}

}  // namespace siftwell
