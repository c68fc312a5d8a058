// ObjectArchive: the objects of an archive as another program wrote them, of whatever classes.
//
// Values borrow the bytes that the archive was read from. Objects refer to each other in any way,
// also in circles: whoever follows references bounds how far.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace siftwell {

struct ArchivedData {
    std::string_view bytes;
};
struct ArchivedReference {
    std::size_t object = 0;
};

// Nothing, or what a value is. Truth values are integers; what has no counterpart is nothing.
using ArchivedValue = std::variant<std::monostate, std::int64_t, double, std::string_view,
                                   ArchivedData, ArchivedReference>;

struct ArchivedClass {
    std::string_view name;
    std::optional<std::size_t> superclass;
};

struct ArchivedObject {
    std::optional<std::size_t> classIndex;
    std::vector<ArchivedValue> values;  // in the order of writing
    // Of a keyed archive: one per value. Those of a list stand there one by one, with the same key.
    std::vector<std::string> keys;
};

struct ObjectArchive {
    // What is read of an archive at most: more values than this are no archive of a page.
    static constexpr std::size_t kMaxValues = 100'000;

    bool isKeyed = false;
    std::vector<ArchivedClass> classes;
    std::vector<ArchivedObject> objects;
    std::vector<ArchivedValue> roots;  // what was archived one after the other
    std::shared_ptr<void> storage;     // perhaps what the values borrow
};

}  // namespace siftwell
