#include "sources/archives/ArchivedValues.h"

#include <algorithm>

#include "text/Utf8.h"

namespace siftwell {

namespace {

constexpr int kMaxClasses = 32;  // above each other

const ArchivedObject* objectOfKind(const ObjectArchive& archive, const ArchivedValue& value,
                                   std::string_view className) {
    return isKindOf(archive, value, className) ? objectIn(archive, value) : nullptr;
}

// What an object of a keyed archive has under its key, and one of a sequential archive as its first
// value of that type.
template <typename T>
std::optional<T> contentsOf(const ObjectArchive& archive, const ArchivedObject& object,
                            std::string_view key) {
    for (std::size_t i = 0; i < std::min(object.values.size(), kMaxParts); ++i) {
        const T* const contents = std::get_if<T>(&object.values[i]);
        if (contents != nullptr && (!archive.isKeyed || object.keys[i] == key)) return *contents;
    }
    return std::nullopt;
}

std::optional<ArchivedValue> numberIn(const ObjectArchive& archive, const ArchivedValue& value) {
    const auto isNumber = [](const ArchivedValue& candidate) {
        return std::holds_alternative<std::int64_t>(candidate) ||
               std::holds_alternative<double>(candidate);
    };
    if (isNumber(value)) return value;
    const ArchivedObject* const object = objectOfKind(archive, value, "NSNumber");
    if (object == nullptr) return std::nullopt;
    // Behind the text that says its type.
    const auto parts = static_cast<std::ptrdiff_t>(std::min(object->values.size(), kMaxParts));
    const auto end = object->values.begin() + parts;
    const auto found = std::find_if(object->values.begin(), end, isNumber);
    return found == end ? std::nullopt : std::optional(*found);
}

std::optional<Url> urlIn(const ObjectArchive& archive, const ArchivedValue& value, int depth) {
    constexpr int kMaxBases = 8;
    const ArchivedObject* const object = objectOfKind(archive, value, "NSURL");
    if (object == nullptr || depth > kMaxBases) return std::nullopt;
    std::optional<std::string_view> text;
    const ArchivedValue* base = nullptr;
    for (std::size_t i = 0; i < std::min(object->values.size(), kMaxParts); ++i) {
        const ArchivedValue& part = object->values[i];
        const bool isText = !archive.isKeyed || object->keys[i] == "NS.relative";
        if (isText && !text) text = stringIn(archive, part);
        if (base == nullptr && isKindOf(archive, part, "NSURL")) base = &part;
    }
    if (!text) return std::nullopt;
    const auto baseUrl = base ? urlIn(archive, *base, depth + 1) : std::nullopt;
    return baseUrl ? baseUrl->resolved(*text) : Url::parse(*text);
}

// Shared objects are copied wherever they are used, so what is made is counted.
class DictionaryReader {
public:
    explicit DictionaryReader(const ObjectArchive& archive) : m_archive(archive) {}

    PropertyList::Dictionary dictionary(const ArchivedValue& value, int depth) {
        PropertyList::Dictionary result;
        for (const auto& [key, item] : pairsIn(m_archive, value).value_or(ArchivedPairs())) {
            if (!spend(0)) break;
            const auto name = stringIn(m_archive, key);
            if (!name || !isValidUtf8(*name) || !spend(name->size())) continue;
            PropertyList made = valueOf(item, depth + 1);
            if (!made.isNull()) result.insert_or_assign(std::string(*name), std::move(made));
        }
        return result;
    }

private:
    PropertyList valueOf(const ArchivedValue& value, int depth) {
        constexpr int kMaxDepth = 16;
        if (depth > kMaxDepth) return {};
        if (const auto text = stringIn(m_archive, value)) {
            const bool isWanted = isValidUtf8(*text) && spend(text->size());
            return isWanted ? PropertyList(std::string(*text)) : PropertyList();
        }
        if (const auto data = dataIn(m_archive, value)) {
            return spend(data->size()) ? PropertyList::Data{std::string(*data)} : PropertyList();
        }
        if (const auto number = numberIn(m_archive, value)) {
            if (!spend(0)) return {};
            const auto* const integer = std::get_if<std::int64_t>(&*number);
            return integer ? PropertyList(*integer) : PropertyList(std::get<double>(*number));
        }
        if (const auto members = membersIn(m_archive, value)) return arrayOf(*members, depth);
        if (isKindOf(m_archive, value, "NSDictionary")) return dictionary(value, depth);
        return {};
    }

    PropertyList arrayOf(const std::vector<ArchivedValue>& members, int depth) {
        PropertyList::Array array;
        for (const ArchivedValue& member : members) {
            if (!spend(0)) break;
            PropertyList made = valueOf(member, depth + 1);
            if (!made.isNull()) array.push_back(std::move(made));
        }
        return array;
    }

    bool spend(std::size_t bytes) {
        if (m_values == 0 || bytes > m_bytes) return false;
        --m_values;
        m_bytes -= bytes;
        return true;
    }

    const ObjectArchive& m_archive;
    std::size_t m_values = 10'000;
    std::size_t m_bytes = std::size_t{1} << 20;
};

}  // namespace

const ArchivedObject* objectIn(const ObjectArchive& archive, const ArchivedValue& value) {
    const auto* const reference = std::get_if<ArchivedReference>(&value);
    const bool isKnown = reference != nullptr && reference->object < archive.objects.size();
    return isKnown ? &archive.objects[reference->object] : nullptr;
}

bool isKindOf(const ObjectArchive& archive, const ArchivedValue& value,
              std::string_view className) {
    const ArchivedObject* const object = objectIn(archive, value);
    if (object == nullptr) return false;
    auto index = object->classIndex;
    for (int i = 0; i < kMaxClasses && index && *index < archive.classes.size(); ++i) {
        const ArchivedClass& candidate = archive.classes[*index];
        if (candidate.name == className) return true;
        index = candidate.superclass;
    }
    return false;
}

ArchivedValue valueForKey(const ArchivedObject& object, std::string_view key) {
    const auto found = std::find(object.keys.begin(), object.keys.end(), key);
    if (found == object.keys.end()) return {};
    return object.values[static_cast<std::size_t>(found - object.keys.begin())];
}

std::optional<std::string_view> stringIn(const ObjectArchive& archive, const ArchivedValue& value) {
    if (const auto* const text = std::get_if<std::string_view>(&value)) return *text;
    const ArchivedObject* const object = objectOfKind(archive, value, "NSString");
    if (object == nullptr) return std::nullopt;
    return contentsOf<std::string_view>(archive, *object, "NS.string");
}

std::optional<std::string_view> dataIn(const ObjectArchive& archive, const ArchivedValue& value) {
    if (const auto* const data = std::get_if<ArchivedData>(&value)) return data->bytes;
    const ArchivedObject* const object = objectOfKind(archive, value, "NSData");
    if (object == nullptr) return std::nullopt;
    auto data = contentsOf<ArchivedData>(archive, *object, "NS.data");
    if (!data) data = contentsOf<ArchivedData>(archive, *object, "NS.bytes");
    return data ? std::optional(data->bytes) : std::nullopt;
}

std::optional<Url> urlIn(const ObjectArchive& archive, const ArchivedValue& value) {
    return urlIn(archive, value, 0);
}

std::optional<double> realIn(const ObjectArchive& archive, const ArchivedValue& value) {
    const auto number = numberIn(archive, value);
    if (!number) return std::nullopt;
    const auto* const integer = std::get_if<std::int64_t>(&*number);
    return integer ? static_cast<double>(*integer) : std::get<double>(*number);
}

std::optional<std::int64_t> integerIn(const ObjectArchive& archive, const ArchivedValue& value) {
    constexpr double kLargest = 9'007'199'254'740'992;  // beyond, they have no units any more
    const auto number = numberIn(archive, value);
    if (!number) return std::nullopt;
    if (const auto* const integer = std::get_if<std::int64_t>(&*number)) return *integer;
    const double real = std::get<double>(*number);
    if (!(real > -kLargest)) return static_cast<std::int64_t>(-kLargest);  // or no number at all
    return static_cast<std::int64_t>(std::min(real, kLargest));
}

// A sequential archive has the number of pairs first, then each key with its value.
std::optional<ArchivedPairs> pairsIn(const ObjectArchive& archive, const ArchivedValue& value) {
    const ArchivedObject* const object = objectOfKind(archive, value, "NSDictionary");
    if (object == nullptr) return std::nullopt;
    ArchivedPairs pairs;
    const std::vector<ArchivedValue>& values = object->values;
    if (!archive.isKeyed) {
        for (std::size_t i = 2; i < values.size() && pairs.size() < kMaxMembers; i += 2) {
            pairs.emplace_back(values[i - 1], values[i]);
        }
        return pairs;
    }
    std::vector<ArchivedValue> keys;
    std::vector<ArchivedValue> items;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (object->keys[i] == "NS.keys") keys.push_back(values[i]);
        if (object->keys[i] == "NS.objects") items.push_back(values[i]);
    }
    for (std::size_t i = 0; i < std::min({keys.size(), items.size(), kMaxMembers}); ++i) {
        pairs.emplace_back(keys[i], items[i]);
    }
    return pairs;
}

std::optional<std::vector<ArchivedValue>> membersIn(const ObjectArchive& archive,
                                                    const ArchivedValue& value) {
    const ArchivedObject* const object = objectOfKind(archive, value, "NSArray");
    if (object == nullptr) return std::nullopt;
    std::vector<ArchivedValue> members;
    // A sequential archive has their number first.
    for (std::size_t i = archive.isKeyed ? 0 : 1;
         i < object->values.size() && members.size() < kMaxMembers; ++i) {
        const bool isMember = !archive.isKeyed || object->keys[i] == "NS.objects";
        if (isMember) members.push_back(object->values[i]);
    }
    return members;
}

PropertyList::Dictionary dictionaryIn(const ObjectArchive& archive, const ArchivedValue& value) {
    return DictionaryReader(archive).dictionary(value, 0);
}

}  // namespace siftwell
