#include "sources/archives/KeyedArchive.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>

#include "base/PropertyListFormat.h"
#include "text/Utf8.h"
#include "text/WholeNumber.h"

namespace siftwell {

namespace {

constexpr int kMaxDepth = 512;
constexpr std::size_t kMaxBytes = std::size_t{256} << 20;
constexpr std::string_view kBinaryMagic = "bplist";

struct Freer {
    void operator()(void* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<void, Freer>;

std::shared_ptr<void> parsed(std::string_view bytes) {
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    if (bytes.size() > kMaxBytes || !isPropertyListDepthWithin(bytes, kMaxDepth)) return nullptr;
    plist_t node = nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    if (bytes.starts_with(kBinaryMagic)) {
        plist_from_bin(bytes.data(), length, &node);
    } else {
        plist_from_xml(bytes.data(), length, &node);
    }
    return {node, plist_free};
}

std::vector<plist_t> itemsOf(plist_t array) {
    std::vector<plist_t> items;
    if (plist_get_node_type(array) != PLIST_ARRAY) return items;
    void* iterator = nullptr;
    plist_array_new_iter(array, &iterator);
    const Memory owner(iterator);
    plist_t item = nullptr;
    do {
        item = nullptr;
        plist_array_next_item(array, iterator, &item);
        if (item != nullptr) items.push_back(item);
    } while (item != nullptr && items.size() <= ObjectArchive::kMaxValues);
    return items;
}

struct Entry {
    std::string key;
    plist_t value = nullptr;
};

std::vector<Entry> entriesOf(plist_t dictionary) {
    std::vector<Entry> entries;
    void* iterator = nullptr;
    plist_dict_new_iter(dictionary, &iterator);
    const Memory owner(iterator);
    while (entries.size() <= ObjectArchive::kMaxValues) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(dictionary, iterator, &key, &value);
        const Memory keyOwner(key);
        if (key == nullptr || value == nullptr) break;
        entries.push_back({key, value});
    }
    return entries;
}

std::string_view textOf(plist_t node) {
    if (plist_get_node_type(node) != PLIST_STRING) return {};
    std::uint64_t length = 0;
    const char* const text = plist_get_string_ptr(node, &length);
    return text == nullptr ? std::string_view() : std::string_view(text, length);
}

std::int64_t integerOf(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    return static_cast<std::int64_t>(value);
}

// Binary lists have a type of their own for references, XML has a dictionary.
std::optional<std::uint64_t> referenceIn(plist_t node) {
    std::uint64_t number = 0;
    if (plist_get_node_type(node) == PLIST_UID) {
        plist_get_uid_val(node, &number);
        return number;
    }
    if (plist_get_node_type(node) != PLIST_DICT) return std::nullopt;
    plist_t item = plist_dict_get_item(node, "CF$UID");
    if (item == nullptr || plist_get_node_type(item) != PLIST_UINT) return std::nullopt;
    return static_cast<std::uint64_t>(integerOf(item));
}

ArchivedValue simpleValueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return std::int64_t{value != 0};
        }
        case PLIST_UINT:
            return integerOf(node);
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING:
            return textOf(node);
        case PLIST_DATA: {
            std::uint64_t length = 0;
            const char* const bytes = plist_get_data_ptr(node, &length);
            return ArchivedData{bytes == nullptr ? std::string_view()
                                                 : std::string_view(bytes, length)};
        }
        default:
            return {};
    }
}

// The number of a value that was archived without a key ("$12"); these come first.
std::size_t numberIn(std::string_view key) {
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    if (!key.starts_with('$')) return kNone;
    return wholeNumberIn<std::size_t>(key.substr(1)).value_or(kNone);
}

class KeyedArchiveReader {
public:
    std::optional<ObjectArchive> read(std::string_view bytes, std::size_t maxRoots) {
        const std::shared_ptr<void> list = parsed(bytes);
        if (list == nullptr || plist_get_node_type(list.get()) != PLIST_DICT) return std::nullopt;
        plist_t objects = plist_dict_get_item(list.get(), "$objects");
        plist_t top = plist_dict_get_item(list.get(), "$top");
        if (objects == nullptr || top == nullptr || plist_get_node_type(top) != PLIST_DICT) {
            return std::nullopt;
        }
        m_nodes = itemsOf(objects);
        m_archive.isKeyed = true;
        m_archive.storage = list;
        if (!readObjects()) return std::nullopt;
        readRoots(top, maxRoots);
        return std::move(m_archive);
    }

private:
    void readRoots(plist_t top, std::size_t maxRoots) {
        for (std::size_t i = 0; i < maxRoots; ++i) {
            plist_t item = plist_dict_get_item(top, ("$" + std::to_string(i)).c_str());
            if (item == nullptr) return;
            m_archive.roots.push_back(valueOf(item));
        }
    }

    bool readObjects() {
        if (!count(m_nodes.size())) return false;
        m_archive.objects.resize(m_nodes.size());
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            const bool isObject = plist_get_node_type(m_nodes[i]) == PLIST_DICT;
            if (isObject && !readObject(m_nodes[i], m_archive.objects[i])) return false;
        }
        return true;
    }

    bool readObject(plist_t node, ArchivedObject& object) {
        std::vector<Entry> entries = entriesOf(node);
        if (!count(entries.size())) return false;
        std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
            return numberIn(a.key) < numberIn(b.key);
        });
        for (const Entry& entry : entries) {
            if (entry.key == "$class") {
                object.classIndex = classAt(referenceIn(entry.value));
            } else if (!addValues(entry, object)) {
                return false;
            }
        }
        return true;
    }

    bool addValues(const Entry& entry, ArchivedObject& object) {
        if (plist_get_node_type(entry.value) != PLIST_ARRAY) {
            object.keys.push_back(entry.key);
            object.values.push_back(valueOf(entry.value));
            return true;
        }
        const std::vector<plist_t> items = itemsOf(entry.value);
        if (!count(items.size()) || !countKeys(items.size() * entry.key.size())) return false;
        for (plist_t item : items) {
            object.keys.push_back(entry.key);
            object.values.push_back(valueOf(item));
        }
        return true;
    }

    bool count(std::size_t values) {
        m_values += values;
        return m_values <= ObjectArchive::kMaxValues;
    }

    bool countKeys(std::size_t bytes) {
        constexpr std::size_t kMaxKeyBytes = std::size_t{16} << 20;
        m_keyBytes += bytes;
        return m_keyBytes <= kMaxKeyBytes;
    }

    ArchivedValue valueOf(plist_t node) const {
        const auto reference = referenceIn(node);
        if (!reference) return simpleValueOf(node);
        if (*reference == 0 || *reference >= m_nodes.size()) return {};  // the first is "$null"
        plist_t target = m_nodes[*reference];
        if (plist_get_node_type(target) == PLIST_DICT) return ArchivedReference{*reference};
        return simpleValueOf(target);
    }

    std::optional<std::size_t> classAt(std::optional<std::uint64_t> reference) {
        if (!reference || *reference >= m_nodes.size()) return std::nullopt;
        const auto [known, isNew] = m_classes.try_emplace(*reference);
        if (isNew) known->second = readClass(m_nodes[*reference]);
        return known->second;
    }

    // "$classes" has the class itself first, then those above it.
    std::optional<std::size_t> readClass(plist_t node) {
        if (plist_get_node_type(node) != PLIST_DICT) return std::nullopt;
        std::vector<plist_t> names;
        if (plist_t chain = plist_dict_get_item(node, "$classes")) names = itemsOf(chain);
        plist_t own = plist_dict_get_item(node, "$classname");
        if (names.empty() && own != nullptr) names.push_back(own);
        if (names.empty() || !count(names.size())) return std::nullopt;
        const std::size_t first = m_archive.classes.size();
        for (plist_t name : names) {
            m_archive.classes.push_back({textOf(name), m_archive.classes.size() + 1});
        }
        m_archive.classes.back().superclass.reset();
        return first;
    }

    std::vector<plist_t> m_nodes;
    std::map<std::uint64_t, std::optional<std::size_t>> m_classes;
    std::size_t m_values = 0;
    std::size_t m_keyBytes = 0;
    ObjectArchive m_archive;
};

}  // namespace

std::optional<ObjectArchive> readKeyedArchive(std::string_view bytes, std::size_t maxRoots) {
    return KeyedArchiveReader().read(bytes, maxRoots);
}

}  // namespace siftwell
