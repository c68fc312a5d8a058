#include "sources/archives/TypedArchive.h"

#include <algorithm>
#include <bit>

namespace siftwell {

namespace {

constexpr int kMaxDepth = 100;
constexpr std::int64_t kFirstReference = -110;  // 0x92

// Bytes that are no numbers where a number could stand.
enum Tag : int {
    kFirstTag = -128,
    kTwoBytes = -127,
    kFourBytes = -126,
    kReal = -125,
    kNew = -124,
    kNil = -123,
    kEndOfObject = -122,
    kLastTag = -111,
};

// After the first fault nothing is read any more: every operation answers nothing, and every loop
// ends.
class TypedArchiveReader {
public:
    explicit TypedArchiveReader(std::string_view bytes) : m_bytes(bytes) {}

    std::optional<ObjectArchive> read(std::size_t maxRoots) {
        readHeader();
        if (!m_isSound) return std::nullopt;
        while (m_isSound && !m_bytes.empty() && m_archive.roots.size() < maxRoots) {
            std::vector<ArchivedValue> group;
            readGroup(readHead(), group, 0);
            if (m_isSound) {
                m_archive.roots.insert(m_archive.roots.end(), group.begin(), group.end());
            }
        }
        return std::move(m_archive);
    }

private:
    // How many characters of types are read, which cost no bytes when they are referred to.
    static constexpr std::size_t kMaxWork = 100 * ObjectArchive::kMaxValues;

    struct ClassNumber {
        std::size_t index;
    };
    using Shared = std::variant<ArchivedReference, ClassNumber, std::string_view>;

    void fail() { m_isSound = false; }

    void spend(std::size_t work) {
        if (work > m_work) fail();
        m_work -= std::min(work, m_work);
    }

    std::string_view take(std::uint64_t length) {
        if (length > m_bytes.size()) fail();
        if (!m_isSound) return {};
        const std::string_view taken = m_bytes.substr(0, length);
        m_bytes.remove_prefix(length);
        return taken;
    }

    std::uint64_t takeNumber(std::size_t width) {
        const std::string_view bytes = take(width);
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            const std::size_t at = m_isBigEndian ? i : bytes.size() - 1 - i;
            number = number << 8 | static_cast<unsigned char>(bytes[at]);
        }
        return number;
    }

    int readHead() { return static_cast<std::int8_t>(takeNumber(1)); }

    std::int64_t readSigned(int head) {
        if (head == kTwoBytes) return static_cast<std::int16_t>(takeNumber(2));
        if (head == kFourBytes) return static_cast<std::int32_t>(takeNumber(4));
        if (head <= kLastTag) fail();
        return head;
    }

    std::int64_t readUnsigned(int head) {
        if (head == kTwoBytes) return static_cast<std::int64_t>(takeNumber(2));
        if (head == kFourBytes) return static_cast<std::int64_t>(takeNumber(4));
        if (head <= kLastTag) fail();
        return head & 0xFF;
    }

    double readReal(std::size_t width) {
        const int head = readHead();
        if (head != kReal) return static_cast<double>(readSigned(head));
        const std::uint64_t bits = takeNumber(width);
        return width == sizeof(float)
                   ? double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))}
                   : std::bit_cast<double>(bits);
    }

    void readHeader() {
        constexpr std::uint64_t kVersion = 4;
        constexpr std::uint64_t kSignatureLength = 11;
        if (takeNumber(1) != kVersion || takeNumber(1) != kSignatureLength) fail();
        const std::string_view signature = take(kSignatureLength);
        m_isBigEndian = signature == "typedstream";
        if (!m_isBigEndian && signature != "streamtyped") fail();
        readUnsigned(readHead());  // the version of the system
    }

    // What the reference that begins with `head` stands for, in either table.
    template <typename T>
    const T* referred(const std::vector<T>& table, int head) {
        const std::int64_t number = readSigned(head) - kFirstReference;
        if (number < 0 || static_cast<std::uint64_t>(number) >= table.size()) fail();
        return m_isSound ? &table[static_cast<std::size_t>(number)] : nullptr;
    }

    std::string_view readUnsharedString(int head) {
        return head == kNil ? std::string_view()
                            : take(static_cast<std::uint64_t>(readUnsigned(head)));
    }

    std::string_view readSharedString(int head) {
        if (head == kNil) return {};
        if (head == kNew) {
            const std::string_view string = readUnsharedString(readHead());
            if (count()) m_strings.push_back(string);
            return string;
        }
        const std::string_view* const string = referred(m_strings, head);
        return string == nullptr ? std::string_view() : *string;
    }

    ArchivedValue readCString() {
        const int head = readHead();
        if (head == kNil) return {};
        if (head == kNew) {
            const std::string_view string = readSharedString(readHead());
            m_shared.emplace_back(string);
            return string;
        }
        const Shared* const shared = referred(m_shared, head);
        const auto* const string = shared ? std::get_if<std::string_view>(shared) : nullptr;
        if (string == nullptr) fail();
        return string == nullptr ? ArchivedValue() : *string;
    }

    std::optional<std::size_t> referredClass(int head) {
        if (head == kNil) return std::nullopt;
        const Shared* const shared = referred(m_shared, head);
        const auto* const number = shared ? std::get_if<ClassNumber>(shared) : nullptr;
        if (number == nullptr) fail();
        return number == nullptr ? std::nullopt : std::optional(number->index);
    }

    // A class and those above it, up to one that is known or has none above.
    std::optional<std::size_t> readClass() {
        std::optional<std::size_t> first;
        std::optional<std::size_t> last;
        const auto follow = [&](std::optional<std::size_t> next) {
            if (last) m_archive.classes[*last].superclass = next;
            if (!first) first = next;
            last = next;
        };
        int head = readHead();
        for (; m_isSound && head == kNew; head = readHead()) {
            const std::string_view name = readSharedString(readHead());
            readSigned(readHead());  // the version of the class
            if (!count()) return std::nullopt;
            m_shared.emplace_back(ClassNumber{m_archive.classes.size()});
            m_archive.classes.push_back({name, std::nullopt});
            follow(m_archive.classes.size() - 1);
        }
        follow(referredClass(head));
        return first;
    }

    ArchivedValue readObject(int depth) {
        const int head = readHead();
        if (head == kNil || depth > kMaxDepth) {
            if (head != kNil) fail();
            return {};
        }
        if (head == kNew) return readNewObject(depth);
        const Shared* const shared = referred(m_shared, head);
        const auto* const reference = shared ? std::get_if<ArchivedReference>(shared) : nullptr;
        if (reference == nullptr) fail();
        return reference == nullptr ? ArchivedValue() : *reference;
    }

    ArchivedValue readNewObject(int depth) {
        const ArchivedReference reference{m_archive.objects.size()};
        m_archive.objects.emplace_back();
        m_shared.emplace_back(reference);
        const auto classIndex = readClass();
        std::vector<ArchivedValue> values;
        for (int head = readHead(); m_isSound && head != kEndOfObject; head = readHead()) {
            readGroup(head, values, depth + 1);
        }
        ArchivedObject& object = m_archive.objects[reference.object];
        object.classIndex = classIndex;
        object.values = std::move(values);
        return reference;
    }

    // Values behind a text with the type of each.
    void readGroup(int head, std::vector<ArchivedValue>& values, int depth) {
        std::string_view types = readSharedString(head);
        while (m_isSound && !types.empty()) readValue(types, values, depth);
    }

    // Takes one type off the front of `types`.
    void readValue(std::string_view& types, std::vector<ArchivedValue>& values, int depth) {
        spend(1);
        if (types.empty() || depth > kMaxDepth) fail();
        if (!m_isSound) return;
        const char type = types.front();
        types.remove_prefix(1);
        if (type == '[') {
            readArray(types, values, depth + 1);
        } else if (type == '{') {
            readStructure(types, values, depth + 1);
        } else if (count()) {
            values.push_back(readSimple(type, depth));
        }
    }

    bool count() {
        if (++m_values > ObjectArchive::kMaxValues) fail();
        return m_isSound;
    }

    ArchivedValue readSimple(char type, int depth) {
        switch (type) {
            case 'c':
                return std::int64_t{static_cast<std::int8_t>(takeNumber(1))};
            case 'B':
            case 'C':
                return static_cast<std::int64_t>(takeNumber(1));
            case 's':
            case 'i':
            case 'l':
            case 'q':
                return readSigned(readHead());
            case 'S':
            case 'I':
            case 'L':
            case 'Q':
                return readUnsigned(readHead());
            case 'f':
                return readReal(sizeof(float));
            case 'd':
                return readReal(sizeof(double));
            case '*':
                return readCString();
            case '%':
            case ':':
                return readSharedString(readHead());
            case '+':
                return readUnsharedString(readHead());
            case '#':
                readClass();
                return {};
            case '@':
                return readObject(depth);
            default:
                fail();
                return {};
        }
    }

    // "[12i]"; bytes are not read one by one.
    void readArray(std::string_view& types, std::vector<ArchivedValue>& values, int depth) {
        const std::uint64_t length = takeLength(types);
        const std::string_view element = takeElement(types);
        if (element == "c" || element == "C") {
            if (count()) values.emplace_back(ArchivedData{take(length)});
            return;
        }
        for (std::uint64_t i = 0; m_isSound && i < length; ++i) {
            std::string_view left = element;
            readValue(left, values, depth);
            if (!left.empty()) fail();
        }
    }

    std::uint64_t takeLength(std::string_view& types) {
        std::uint64_t length = 0;
        while (m_isSound && !types.empty() && types.front() >= '0' && types.front() <= '9') {
            spend(1);
            length = length * 10 + static_cast<std::uint64_t>(types.front() - '0');
            if (length > m_bytes.size()) fail();  // an element takes a byte at least
            types.remove_prefix(1);
        }
        return length;
    }

    // Up to the bracket that ends the array.
    std::string_view takeElement(std::string_view& types) {
        int open = 1;
        for (std::size_t i = 0; m_isSound && i < types.size(); ++i) {
            spend(1);
            if (types[i] == '[') ++open;
            if (types[i] == ']' && --open == 0) {
                const std::string_view element = types.substr(0, i);
                types.remove_prefix(i + 1);
                return element;
            }
        }
        fail();
        return {};
    }

    // "{name=ii}".
    void readStructure(std::string_view& types, std::vector<ArchivedValue>& values, int depth) {
        while (m_isSound && !types.empty() && types.front() != '=') {
            spend(1);
            types.remove_prefix(1);
        }
        if (types.empty()) return fail();
        types.remove_prefix(1);
        while (m_isSound && !types.starts_with('}')) readValue(types, values, depth);
        if (m_isSound) types.remove_prefix(1);
    }

    std::string_view m_bytes;  // what is left
    std::size_t m_work = kMaxWork;
    std::size_t m_values = 0;
    bool m_isBigEndian = false;
    bool m_isSound = true;
    std::vector<std::string_view> m_strings;
    std::vector<Shared> m_shared;
    ObjectArchive m_archive;
};

}  // namespace

std::optional<ObjectArchive> readTypedArchive(std::string_view bytes, std::size_t maxRoots) {
    return TypedArchiveReader(bytes).read(maxRoots);
}

}  // namespace siftwell
